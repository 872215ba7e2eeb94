#include "BusyIndicator.h"

#include <QPainter>

namespace {

constexpr int kSpokes = 12;
constexpr int kStepMs = 80;

} // namespace

BusyIndicator::BusyIndicator(QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(32, 32);
    setAccessibleName(tr("Busy"));
    m_timer.setInterval(kStepMs);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % kSpokes;
        update();
    });
}

void BusyIndicator::startAnimation()
{
    m_timer.start();
}

void BusyIndicator::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(width() / 2.0, height() / 2.0);
    const qreal radius = qMin(width(), height()) / 2.0;
    QColor colour = palette().color(QPalette::WindowText);
    for (int spoke = 0; spoke < kSpokes; ++spoke) {
        const int age = (m_step - spoke + kSpokes) % kSpokes;
        colour.setAlphaF(1.0 - qreal(age) / kSpokes * 0.85);
        painter.setPen(QPen(colour, radius / 5.0, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.9));
        painter.rotate(360.0 / kSpokes);
    }
}
