// Runs GoogleTest inside a QApplication so widget tests can create real windows
// (offscreen unless QT_QPA_PLATFORM says otherwise).
#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char* argv[]) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
