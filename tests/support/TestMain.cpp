#include <QCoreApplication>
#include <gtest/gtest.h>

// Test discovery runs the binary without the test's environment, so the
// platform is fixed here before any Qt object exists.
int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
