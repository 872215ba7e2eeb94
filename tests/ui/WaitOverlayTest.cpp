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

qreal opacityOf(const NVCWaitViewController &controller)
{
    return static_cast<QGraphicsOpacityEffect *>(controller.view()->graphicsEffect())->opacity();
}

} // namespace

TEST(WaitOverlay, FirstShowingIsImmediateSwallowsInputHidesFromAnyThreadAndLaterOnesFadeIn)
{
    QWidget root;
    auto *button = new QPushButton(QStringLiteral("beneath"));
    auto *field = new QLineEdit;
    auto *layout = new QVBoxLayout(&root);
    layout->addWidget(button);
    layout->addWidget(field);
    root.show();
    int clicks = 0;
    QObject::connect(button, &QPushButton::clicked, [&] { ++clicks; });
    NVCWaitViewController controller;
    controller.setAnimationDurations(200, 50);
    controller.configureViewForLocalizedMessage(QStringLiteral("loading"));
    controller.view()->cover(&root);
    EXPECT_EQ(opacityOf(controller), 1.0);
    EXPECT_EQ(controller.view()->geometry(), root.rect());
    EXPECT_TRUE(qobject_cast<QGraphicsBlurEffect *>(button->graphicsEffect()));

    QTest::mouseClick(controller.view(), Qt::LeftButton, {}, button->geometry().center());
    QTest::keyClick(controller.view(), Qt::Key_Tab);
    QTest::keyClicks(controller.view(), QStringLiteral("abc"));
    EXPECT_EQ(clicks, 0);
    EXPECT_TRUE(field->text().isEmpty());

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
    EXPECT_FALSE(button->graphicsEffect()) << "the content is sharp again";

    controller.configureViewForLocalizedMessage(QStringLiteral("applying"));
    controller.view()->cover(&root);
    EXPECT_LT(opacityOf(controller), 1.0);
    EXPECT_TRUE(waitUntil([&] { return opacityOf(controller) == 1.0; }));
}
