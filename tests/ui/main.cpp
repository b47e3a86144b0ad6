// The windows without a display: everything is drawn and clicked in memory.
#include "ui/Look.h"

#include "Sanitized.h"

#include <QApplication>
#include <QStandardPaths>

#include <gtest/gtest.h>

#if MARVO_ADDRESS_SANITIZED
// The font library keeps what it has loaded to the end, which a process that ends by exit() does not outlive.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\n";
}
extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0";
}
#endif

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // The platform in memory complains about each window that it cannot raise.
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES")) qputenv("QT_LOGGING_RULES", "qt.qpa.*=false");
    QStandardPaths::setTestModeEnabled(true);
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    marvo::ui::applyLook(application, marvo::ui::Variant::dark);
    return RUN_ALL_TESTS();
}
