#pragma once

#include <QObject>
#include <QPointer>
#include <functional>

class NVCWaitView;
class QPropertyAnimation;

// Builds, fades in and fades out the wait panel. The first showing appears at
// once, later ones fade in; hiding fades out and then calls back once.
class NVCWaitViewController : public QObject
{
    Q_OBJECT
public:
    explicit NVCWaitViewController(QObject *parent = nullptr);
    ~NVCWaitViewController() override;

    // A fresh panel showing `message` (already localized and filled in); the
    // caller lays it over its content with `view()->cover(...)`.
    void configureViewForLocalizedMessage(const QString &message);
    NVCWaitView *view() const { return m_view; }

    // May be called from any thread; the callback runs on this object's
    // thread after the fade-out.
    void hideWithCallback(std::function<void()> callback);
    void finishWithCallback(std::function<void()> callback);

    // 1.0 s and 2.0 s unless changed (tests shorten them).
    void setAnimationDurations(int fadeInMs, int fadeOutMs);

private:
    QPointer<NVCWaitView> m_view;
    QPointer<QPropertyAnimation> m_fade;
    bool m_repeatedShowAttempt = false;
    int m_fadeInMs = 1000;
    int m_fadeOutMs = 2000;
};
