#include "NVCWaitViewController.h"

#include "BusyIndicator.h"
#include "NVCWaitView.h"

#include <QGraphicsOpacityEffect>
#include <QLoggingCategory>
#include <QPropertyAnimation>

Q_LOGGING_CATEGORY(lcNVCWaitViewController, "com.norvalis.NVCWaitViewController")

NVCWaitViewController::NVCWaitViewController(QObject *parent)
    : QObject(parent)
{}

NVCWaitViewController::~NVCWaitViewController()
{
    delete m_view;
}

void NVCWaitViewController::setAnimationDurations(int fadeInMs, int fadeOutMs)
{
    m_fadeInMs = fadeInMs;
    m_fadeOutMs = fadeOutMs;
}

void NVCWaitViewController::configureViewForLocalizedMessage(const QString &message)
{
    if (m_fade)
        m_fade->stop();
    delete m_view;
    m_view = new NVCWaitView(message);
    auto *opacity = new QGraphicsOpacityEffect(m_view);
    m_view->setGraphicsEffect(opacity);
    m_view->indicator()->startAnimation();

    const int duration = m_repeatedShowAttempt ? m_fadeInMs : 0;
    if (duration > 0) {
        opacity->setOpacity(0.0);
        auto *fadeIn = new QPropertyAnimation(opacity, "opacity", m_view);
        fadeIn->setDuration(duration);
        fadeIn->setEndValue(1.0);
        fadeIn->start(QAbstractAnimation::DeleteWhenStopped);
        m_fade = fadeIn;
    } else {
        opacity->setOpacity(1.0);
    }
    m_repeatedShowAttempt = true;
}

void NVCWaitViewController::hideWithCallback(std::function<void()> callback)
{
    QMetaObject::invokeMethod(
        this, [this, callback = std::move(callback)]() mutable { finishWithCallback(std::move(callback)); },
        Qt::QueuedConnection);
}

void NVCWaitViewController::finishWithCallback(std::function<void()> callback)
{
    const auto finish = [callback = std::move(callback)] {
        qCDebug(lcNVCWaitViewController, "%s: animation completion block", Q_FUNC_INFO);
        if (callback)
            callback();
    };
    NVCWaitView *view = m_view;
    auto *opacity = view ? qobject_cast<QGraphicsOpacityEffect *>(view->graphicsEffect()) : nullptr;
    if (!opacity) {
        finish();
        return;
    }
    if (m_fade)
        m_fade->stop();
    // The fading panel belongs to its fade-out now, so a new showing leaves it be.
    m_view = nullptr;
    auto *fadeOut = new QPropertyAnimation(opacity, "opacity", this);
    fadeOut->setDuration(m_fadeOutMs);
    fadeOut->setEndValue(0.0);
    connect(fadeOut, &QPropertyAnimation::finished, this, [view, finish] {
        delete view;
        finish();
    });
    fadeOut->start(QAbstractAnimation::DeleteWhenStopped);
}
