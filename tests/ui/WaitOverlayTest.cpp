#include "NVCWaitView.h"
#include "NVCWaitViewController.h"
#include "WaitUntil.h"

#include <QGraphicsBlurEffect>
#include <QGraphicsOpacityEffect>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>
#include <gtest/gtest.h>
#include <thread>

namespace {

struct Window
{
    Window()
    {
        auto *layout = new QVBoxLayout(&root);
        layout->addWidget(button);
        layout->addWidget(field);
        root.resize(400, 300);
        root.show();
    }
    QWidget root;
    QPushButton *button = new QPushButton(QStringLiteral("beneath"));
    QLineEdit *field = new QLineEdit;
};

qreal opacityOf(const NVCWaitViewController &controller)
{
    return static_cast<QGraphicsOpacityEffect *>(controller.view()->graphicsEffect())->opacity();
}

} // namespace

TEST(WaitOverlay, FirstShowingIsImmediateSwallowsInputHidesFromAnyThreadAndLaterOnesFadeIn)
{
    Window window;
    int clicks = 0;
    QObject::connect(window.button, &QPushButton::clicked, [&] { ++clicks; });
    NVCWaitViewController controller;
    controller.setAnimationDurations(200, 50);
    controller.configureViewForLocalizedMessage(QStringLiteral("loading"));
    controller.view()->cover(&window.root);
    EXPECT_EQ(opacityOf(controller), 1.0);
    EXPECT_EQ(controller.view()->geometry(), window.root.rect());
    EXPECT_TRUE(qobject_cast<QGraphicsBlurEffect *>(window.button->graphicsEffect()));

    QTest::mouseClick(controller.view(), Qt::LeftButton, {}, window.button->geometry().center());
    QTest::keyClick(controller.view(), Qt::Key_Tab);
    QTest::keyClicks(controller.view(), QStringLiteral("abc"));
    EXPECT_EQ(clicks, 0);
    EXPECT_TRUE(window.field->text().isEmpty());

    QPointer<NVCWaitView> panel = controller.view();
    int calls = 0;
    Qt::HANDLE callingThread = nullptr;
    std::thread([&] {
        controller.hideWithCallback([&] {
            ++calls;
            callingThread = QThread::currentThreadId();
        });
    }).join();
    ASSERT_TRUE(waitUntil([&] { return calls == 1; })) << "hidden from another thread, called back once";
    EXPECT_EQ(callingThread, QThread::currentThreadId());
    EXPECT_TRUE(panel.isNull()) << "the panel is gone once the callback runs";
    EXPECT_FALSE(window.button->graphicsEffect()) << "the content is sharp again";

    controller.configureViewForLocalizedMessage(QStringLiteral("applying"));
    controller.view()->cover(&window.root);
    EXPECT_LT(opacityOf(controller), 1.0);
    EXPECT_TRUE(waitUntil([&] { return opacityOf(controller) == 1.0; }));
}
