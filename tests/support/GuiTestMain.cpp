#include <QApplication>
#include <gtest/gtest.h>

// Widget tests draw offscreen; test discovery runs the binary without the
// test's environment, so the platform is fixed here before any Qt object exists.
int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
