#include "ui/application.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QTextStream>
#include <QTranslator>
#include <memory>

#include "app/program.h"
#include "app/surroundings.h"
#include "comm/system_serial_port.h"
#include "core/error_text.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "ui/desktop.h"
#include "ui/dialogs/start_up_password_dialog.h"
#include "ui/end_signals.h"
#include "ui/text.h"
#include "ui/window/main_window.h"

namespace postkite::ui {

namespace {

constexpr int kCannotStart = 1;
constexpr int kWrongUsage = 2;

/// The windows' own texts in English, or Qt's in Japanese: the source texts are Japanese.
void Translate(QApplication& application, core::Language language) {
    auto* own = new QTranslator(&application);
    if (language == core::Language::English) {
        QLocale::setDefault(QLocale(QLocale::English));
        if (own->load(QStringLiteral(":/i18n/postkite_en.qm"))) QApplication::installTranslator(own);
        return;
    }
    QLocale::setDefault(QLocale(QLocale::Japanese, QLocale::Japan));
    if (own->load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                  QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QApplication::installTranslator(own);
    }
}

/// What the command line says of the working directory.
struct Arguments {
    bool understood = false;
    int status = 0;  ///< to end with, where there is nothing more to do
    QString directory;
};

Arguments ReadArguments(const QStringList& words) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QCoreApplication::translate("Application", "テキストメニュー型ホストのためのメールクライアント"));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QCoreApplication::translate("Application", "この説明を表示する"));
    const QCommandLineOption version(QStringLiteral("version"),
                                     QCoreApplication::translate("Application", "バージョンを表示する"));
    const QCommandLineOption directory(
        QStringLiteral("dir"),
        QCoreApplication::translate(
            "Application",
            "作業ディレクトリ（既定: $POSTKITE_DIR、$XDG_DATA_HOME/postkite、~/.local/share/postkite）"),
        QStringLiteral("DIR"));
    parser.addOptions({help, version, directory});
    Arguments arguments;
    QTextStream out(stdout);
    QTextStream err(stderr);
    if (!parser.parse(words)) {
        err << parser.errorText() << "\n";
        arguments.status = kWrongUsage;
    } else if (!parser.positionalArguments().isEmpty()) {
        err << QCoreApplication::translate("Application", "余分な引数です: %1")
                   .arg(parser.positionalArguments().join(u' '))
            << "\n";
        arguments.status = kWrongUsage;
    } else if (parser.isSet(help)) {
        out << parser.helpText();
    } else if (parser.isSet(version)) {
        out << "postkite-desktop " POSTKITE_VERSION "\n";
    } else {
        arguments.understood = true;
        arguments.directory = parser.value(directory);
    }
    return arguments;
}

/// Opens the working directory; false, with a box that says why, where it cannot be used.
bool OpenDirectory(core::Workspace& workspace, core::FileSystem& fileSystem, WindowUserInterface& ui) {
    const app::OpenedDirectory opened = app::OpenWorkingDirectory(workspace, fileSystem);
    if (opened.result < 0) {
        ui.Tell(QCoreApplication::translate("Application", "作業ディレクトリ %1 を使用できません。（%2）")
                    .arg(ShownPath(workspace.root().u8string()),
                         Shown(core::DescribeError(opened.result, ui.language()))),
                core::MessageIcon::Stop);
        return false;
    }
    if (opened.settingDirectories.empty()) return true;
    QStringList names;
    for (const std::u8string& spelling : opened.settingDirectories)
        names += ShownPath(spelling);
    ui.Tell(QCoreApplication::translate(
                "Application", "設定のディレクトリがいくつもあります。一つだけ残してください。（%1）")
                .arg(names.join(QStringLiteral(", "))),
            core::MessageIcon::Stop);
    return false;
}

/// Everything that the windows work with, in the order in which it is needed.
struct Surroundings {
    Surroundings(const std::filesystem::path& directory, const std::filesystem::path& stateDirectory,
                 core::Language language)
        : workspace(fileSystem, directory),
          programState(fileSystem, stateDirectory),
          ui(language),
          program(workspace, programState, ui, clock, port),
          desktop{workspace, program, ui, fileSystem} {}

    core::SystemFileSystem fileSystem;
    core::Workspace workspace;
    core::Workspace programState;
    core::SystemClock clock;
    comm::SystemSerialPort port;
    WindowUserInterface ui;
    app::Program program;
    Desktop desktop;
};

int RunIn(QApplication& application, Surroundings& surroundings,
          const std::function<void(MainWindow&)>& shown) {
    // The system may ask for the end while a box of the start waits to be closed.
    MainWindow* shownWindow = nullptr;
    bool endAsked = false;
    const EndSignals signalsOfTheSystem([&] {
        endAsked = true;
        if (shownWindow != nullptr) {
            shownWindow->End();
            return;
        }
        surroundings.ui.StopAsking();
        if (QWidget* modal = QApplication::activeModalWidget(); modal != nullptr) modal->close();
    });
    if (!OpenDirectory(surroundings.workspace, surroundings.fileSystem, surroundings.ui)) return kCannotStart;
    app::Program& program = surroundings.program;
    program.Start();
    // The settings are written at the end, whatever is done meanwhile.
    if (program.PrepareChange() < 0) return kCannotStart;
    surroundings.ui.SetSurroundings(surroundings.workspace, program.settings());
    if (!StartUpPasswordDialog::Ask(surroundings.desktop, nullptr)) return kCannotStart;
    // Without its bank the program can still be set up so that it finds one; the user knows.
    static_cast<void>(program.OpenBank());

    if (endAsked) return 0;

    MainWindow window(surroundings.desktop);
    shownWindow = &window;
    QObject::connect(
        &application, &QGuiApplication::commitDataRequest, &window, [&window] { window.End(); },
        Qt::DirectConnection);
    if (program.settings().startIcon != 0) {
        window.showMinimized();
    } else {
        window.show();
    }
    if (shown) shown(window);
    return QApplication::exec();
}

}  // namespace

int RunDesktop(QApplication& application, const std::function<void(MainWindow&)>& shown) {
    QApplication::setApplicationName(QStringLiteral("postkite"));
    QApplication::setApplicationDisplayName(QString());
    QApplication::setDesktopFileName(QStringLiteral("postkite-desktop"));
    QApplication::setQuitOnLastWindowClosed(false);
    const core::Language language = app::LanguageOf(app::ReadVariable);
    Translate(application, language);
    const Arguments arguments = ReadArguments(QApplication::arguments());
    if (!arguments.understood) return arguments.status;
    const auto directory = arguments.directory.isEmpty()
                               ? app::WorkingDirectory(app::ReadVariable)
                               : std::make_optional<std::filesystem::path>(arguments.directory.toStdString());
    if (!directory) {
        QTextStream(stderr) << QCoreApplication::translate(
                                   "Application",
                                   "作業ディレクトリが決まりません。--dir で指定してください。")
                            << "\n";
        return kCannotStart;
    }
    const auto surroundings = std::make_unique<Surroundings>(
        *directory, app::StateDirectory(app::ReadVariable).value_or(*directory), language);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/postkite.svg")));
    return RunIn(application, *surroundings, shown);
}

}  // namespace postkite::ui
