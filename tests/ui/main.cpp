#include <gtest/gtest.h>

#include <QApplication>
#include <QStyle>

/// What the font libraries keep for the life of the process, for the leak check at the end.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\nleak:libX11\nleak:libxcb\nleak:libglib\nleak:libdbus\n";
}

int main(int argumentCount, char** arguments) {
    ::testing::InitGoogleTest(&argumentCount, arguments);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argumentCount, arguments);
    QApplication::setStyle(QStringLiteral("Fusion"));
    return RUN_ALL_TESTS();
}
