#include "CommandLineMain.h"
#include "CompanionFiles.h"
#include "QtPrompter.h"
#include "ScreenshotTour.h"
#include "Version.h"
#include "frmInstall.h"

#include <QApplication>
#include <QCommandLineParser>
#include <cstdio>

int main(int argc, char** argv)
{
    for (const std::string& line : MissingCompanionFiles())
        std::fprintf(stderr, "labfolio-setup: %s\n", line.c_str());
    // A command runs here, before any QApplication: it needs no display and no Qt platform.
    if (cli::IsCommandLine(argc, argv))
        return cli::RunCommandLine(argc, argv);
    UseOffscreenPlatformForScreenshots(argc, argv);
    QApplication app(argc, argv);
    QApplication::setApplicationName(version::kApplicationTitle);
    QApplication::setApplicationVersion(QString("%1.%2.%3").arg(version::kMajor).arg(version::kMinor).arg(version::kRevision));

    QCommandLineParser parser;
    parser.setApplicationDescription("Labfolio multi-user setup and administration wizard");
    parser.addHelpOption();
    parser.addVersionOption();
    QCommandLineOption screenshots("screenshots", "Save pictures of the wizard's pages into <folder> and exit.",
                                   "folder");
    parser.addOption(screenshots);
    parser.process(app);

    QtPrompter prompter;
    frmInstall window(prompter);
    prompter.setOwner(&window);

    if (parser.isSet(screenshots)) {
        const QString folder = parser.value(screenshots);
        const int saved = SaveScreenshots(window, folder);
        std::printf("saved %d pictures into %s\n", saved, qPrintable(folder));
        return saved > 0 ? 0 : 1;
    }
    window.show();
    return app.exec();
}
