#pragma once

#include <QPointer>
#include <QWidget>

class BusyIndicator;
class QLabel;

// The panel laid over a window's content while rules are loaded or applied:
// the window colour at half opacity over the blurred content, a spinner and a
// message in the middle. Nothing beneath it can be clicked or typed into.
class NVCWaitView : public QWidget
{
    Q_OBJECT
public:
    explicit NVCWaitView(const QString &message, QWidget *parent = nullptr);
    ~NVCWaitView() override;

    // Lays the panel over every other child of `rootView`, blurs them, and
    // keeps the panel the size of `rootView`.
    void cover(QWidget *rootView);

    QString message() const;
    BusyIndicator *indicator() const { return m_indicator; }

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void unblurCovered();

    QLabel *m_label;
    BusyIndicator *m_indicator;
    QList<QPointer<QWidget>> m_blurred;
};
