#pragma once

// Collects the lines written to one logging category while it lives; other categories go
// on to the handler that was installed before. Lines may come from any thread (decoder
// workers log too). One capture at a time.

#include <QByteArray>
#include <QMutex>
#include <QMutexLocker>
#include <QStringList>
#include <string>

class LogCapture {
public:
    explicit LogCapture(const char* category) {
        QMutexLocker lock(&s_mutex);
        s_category = category;
        s_lines.clear();
        s_previous = qInstallMessageHandler(&LogCapture::handle);
    }
    ~LogCapture() { qInstallMessageHandler(s_previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList lines() const {
        QMutexLocker lock(&s_mutex);
        return s_lines;
    }
    // How many lines are exactly `line`.
    int count(const QString& line) const { return int(lines().count(line)); }
    // How many lines contain `text`.
    int countContaining(const QString& text) const {
        return int(lines().filter(text, Qt::CaseSensitive).size());
    }
    bool contains(const QString& text) const { return countContaining(text) > 0; }
    void clear() {
        QMutexLocker lock(&s_mutex);
        s_lines.clear();
    }
    // All lines, for a failure message.
    std::string text() const { return lines().join(QLatin1Char('|')).toStdString(); }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message) {
        if (context.category && QByteArray(context.category) == s_category) {
            QMutexLocker lock(&s_mutex);
            s_lines << message;
        } else if (s_previous) {
            s_previous(type, context, message);
        }
    }

    static inline QMutex s_mutex;
    static inline QByteArray s_category;
    static inline QStringList s_lines;
    static inline QtMessageHandler s_previous = nullptr;
};
