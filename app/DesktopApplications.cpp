#include "app/DesktopApplications.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSet>
#include <QTextStream>
#include <algorithm>

namespace {

const QSet<QString> kFieldCodes{"%f", "%F", "%u", "%U", "%d", "%D", "%n",
                                "%N", "%i", "%c", "%k", "%v", "%m"};

// The Exec line split into arguments, honouring double quotes and backslash escapes.
QStringList splitExec(const QString& exec) {
    QStringList arguments;
    QString current;
    bool quoted = false;
    bool hasArgument = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (quoted && c == u'\\' && i + 1 < exec.size()) {
            current += exec[++i];
        } else if (c == u'"') {
            quoted = !quoted;
            hasArgument = true;
        } else if (c.isSpace() && !quoted) {
            if (hasArgument || !current.isEmpty()) {
                arguments << current;
            }
            current.clear();
            hasArgument = false;
        } else {
            current += c;
        }
    }
    if (hasArgument || !current.isEmpty()) {
        arguments << current;
    }
    return arguments;
}

QString quoted(const QString& argument) {
    if (!argument.isEmpty() && !argument.contains(u' ') && !argument.contains(u'"')) {
        return argument;
    }
    QString escaped = argument;
    escaped.replace(u'\\', QStringLiteral("\\\\")).replace(u'"', QStringLiteral("\\\""));
    return u'"' + escaped + u'"';
}

// "%%" stands for "%"; any other field code inside an argument is dropped.
QString withoutFieldCodes(const QString& argument) {
    QString result;
    for (qsizetype i = 0; i < argument.size(); ++i) {
        if (argument[i] != u'%' || i + 1 == argument.size()) {
            result += argument[i];
            continue;
        }
        const QChar code = argument[++i];
        if (code == u'%') {
            result += code;
        } else if (!kFieldCodes.contains(QStringLiteral("%") + code)) {
            result += u'%';
            result += code;
        }
    }
    return result;
}

bool isTrue(const QString& value) {
    return value.trimmed() == QLatin1String("true");
}

} // namespace

QStringList DesktopApplications::applicationDirectories() {
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty()) {
        dataHome = QDir::homePath() + QStringLiteral("/.local/share");
    }
    QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dataDirs.isEmpty()) {
        dataDirs = QStringLiteral("/usr/local/share:/usr/share");
    }
    QStringList directories{dataHome + QStringLiteral("/applications")};
    for (const QString& dir : dataDirs.split(u':', Qt::SkipEmptyParts)) {
        directories << dir + QStringLiteral("/applications");
    }
    directories.removeDuplicates();
    return directories;
}

QList<DesktopApplication> DesktopApplications::installedApplications() {
    QList<DesktopApplication> applications;
    QSet<QString> seen;
    for (const QString& directory : applicationDirectories()) {
        const QDir root(directory);
        QDirIterator files(directory, {QStringLiteral("*.desktop")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            // Desktop file ids name subfolders with dashes ("kde/app.desktop" is "kde-app").
            const QString id = root.relativeFilePath(path).replace(u'/', u'-');
            if (seen.contains(id)) {
                continue;
            }
            seen.insert(id);
            if (std::optional<DesktopApplication> application = readDesktopFile(path, id)) {
                applications << *application;
            }
        }
    }
    std::sort(applications.begin(), applications.end(),
              [](const DesktopApplication& a, const DesktopApplication& b) {
                  return a.name.localeAwareCompare(b.name) < 0;
              });
    return applications;
}

std::optional<DesktopApplication> DesktopApplications::readDesktopFile(const QString& path,
                                                                       const QString& id) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return std::nullopt;
    }
    QTextStream stream(&file);
    bool inEntry = false;
    QHash<QString, QString> values;
    while (!stream.atEnd()) {
        const QString line = stream.readLine().trimmed();
        if (line.startsWith(u'[')) {
            inEntry = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (!inEntry || line.startsWith(u'#') || equals <= 0) {
            continue;
        }
        const QString key = line.left(equals).trimmed();
        if (!values.contains(key)) {
            values.insert(key, line.mid(equals + 1).trimmed());
        }
    }
    DesktopApplication application;
    application.id = id;
    application.name = values.value(QStringLiteral("Name"));
    application.command = commandFromExec(values.value(QStringLiteral("Exec")));
    application.iconName = values.value(QStringLiteral("Icon"));
    application.opensAudio =
        values.value(QStringLiteral("MimeType")).contains(QLatin1String("audio/"));
    if (values.value(QStringLiteral("Type")) != QLatin1String("Application") ||
        isTrue(values.value(QStringLiteral("Hidden"))) ||
        isTrue(values.value(QStringLiteral("NoDisplay"))) || application.name.isEmpty() ||
        application.command.isEmpty()) {
        return std::nullopt;
    }
    return application;
}

QString DesktopApplications::commandFromExec(const QString& exec) {
    QStringList kept;
    for (QString argument : splitExec(exec)) {
        if (kFieldCodes.contains(argument) || argument == QLatin1String("@@") ||
            argument == QLatin1String("@@u")) {
            continue;
        }
        kept << quoted(withoutFieldCodes(argument));
    }
    return kept.join(u' ');
}
