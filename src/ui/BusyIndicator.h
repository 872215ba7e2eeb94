#pragma once

#include <QTimer>
#include <QWidget>

// A small spinning indicator: twelve spokes, the brightest one going round.
class BusyIndicator : public QWidget
{
    Q_OBJECT
public:
    explicit BusyIndicator(QWidget *parent = nullptr);

    void startAnimation();
    QSize sizeHint() const override { return {32, 32}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QTimer m_timer;
    int m_step = 0;
};
