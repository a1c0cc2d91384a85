#include "tests/app/AppTestSupport.h"

#include "app/DocumentSession.h"
#include "app/ZelvoraApplication.h"
#include "clip/StudioServices.h"
#include "document/DocumentController.h"
#include "media/AudioFileWriter.h"
#include "media/ToneGenerator.h"
#include "preset/PresetDocument.h"
#include "preset/PresetMatrix.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QTimer>
#include <QWidget>

ConfigHome::ConfigHome(const QString& configHome)
    : _saved(qgetenv("XDG_CONFIG_HOME"))
    , _savedData(qgetenv("XDG_DATA_HOME")) {
    qputenv("XDG_CONFIG_HOME", configHome.toUtf8());
    // The demo cart wall a start writes goes to the test's folder too.
    qputenv("XDG_DATA_HOME", (configHome + QStringLiteral("/data")).toUtf8());
}

ConfigHome::~ConfigHome() {
    qputenv("XDG_CONFIG_HOME", _saved);
    qputenv("XDG_DATA_HOME", _savedData);
}

ProgramArguments::ProgramArguments(const QStringList& arguments) {
    _strings.push_back(QByteArrayLiteral("zelvora-studio"));
    for (const QString& argument : arguments) {
        _strings.push_back(argument.toLocal8Bit());
    }
    for (QByteArray& string : _strings) {
        _pointers.push_back(string.data());
    }
    _pointers.push_back(nullptr);
    _argc = int(_strings.size());
}

QList<QWidget*> cartWallWindows() {
    QList<QWidget*> windows;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->findChild<PresetMatrix*>()) {
            windows << widget;
        }
    }
    return windows;
}

QWidget* firstCartWallWindow() {
    const QList<QWidget*> windows = cartWallWindows();
    return windows.isEmpty() ? nullptr : windows.first();
}

PresetMatrix* matrixOf(QWidget* window) {
    return window ? window->findChild<PresetMatrix*>() : nullptr;
}

PresetDocument* documentOf(QWidget* window) {
    const DocumentController* documents = DocumentController::shared();
    if (!documents || !window) {
        return nullptr;
    }
    for (Document* document : documents->documents()) {
        if (document->window() == window) {
            return qobject_cast<PresetDocument*>(document);
        }
    }
    return nullptr;
}

int AnsweringAlerts::runAlert(const Alert& alert) {
    shown << alert.title;
    const int chosen = answers.isEmpty() ? 0 : int(alert.buttons.indexOf(answers.takeFirst()));
    return chosen < 0 ? 0 : chosen;
}

void ProgramTest::SetUp() {
    ASSERT_TRUE(home.isValid());
    AlertPresenter::setCurrent(&alerts);
}

void ProgramTest::TearDown() {
    AlertPresenter::setCurrent(nullptr);
}

void ProgramTest::runProgram(const QStringList& arguments,
                             const std::function<void(ZelvoraApplication&)>& body,
                             const std::function<void()>& beforeStart) {
    {
        ProgramArguments program(arguments);
        ZelvoraApplication app(program.argc(), program.argv());
        if (beforeStart) {
            beforeStart();
        }
        QTimer::singleShot(0, &app, [&] {
            body(app);
            QApplication::exit(0);
        });
        EXPECT_EQ(app.run(), 0);
    }
    EXPECT_EQ(StudioServices::keyStates(), nullptr) << "services go with the program";
}

DocumentController& ProgramTest::documents(ZelvoraApplication& app) {
    return app.documentSession()->documentController();
}

QString ProgramTest::writeTone(const QString& name) {
    const QString path = home.filePath(name);
    media::ToneGenerator tone = media::ToneGenerator::stereoSine(440.0, 660.0, 0.3, 48000);
    media::AudioFileWriter::Options options;
    options.sampleRate = 48000;
    QString error;
    EXPECT_TRUE(media::AudioFileWriter::writeFile(path, options, tone, 48000, &error))
        << qPrintable(error);
    return path;
}

QAction* studioAction(QWidget* window, const QString& text) {
    for (QMenu* menu : window->findChildren<QMenu*>()) {
        if (menu->title() != QStringLiteral("&Studio")) {
            continue;
        }
        for (QAction* action : menu->actions()) {
            if (action->text() == text) {
                return action;
            }
        }
    }
    return nullptr;
}
