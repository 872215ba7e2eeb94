#include "NVCWaitView.h"

#include "BusyIndicator.h"

#include <QEvent>
#include <QGraphicsBlurEffect>
#include <QLabel>
#include <QLoggingCategory>
#include <QPainter>
#include <QVBoxLayout>

Q_LOGGING_CATEGORY(lcNVCWaitView, "com.norvalis.NVCWaitView")

namespace {

constexpr qreal kBlurRadius = 2.5;
constexpr int kMessagePointSize = 16;

} // namespace

NVCWaitView::NVCWaitView(const QString &message, QWidget *parent)
    : QWidget(parent)
    , m_label(new QLabel(message, this))
    , m_indicator(new BusyIndicator(this))
{
    setFocusPolicy(Qt::StrongFocus);
    QFont font = m_label->font();
    font.setPointSize(kMessagePointSize);
    m_label->setFont(font);
    m_label->setTextInteractionFlags(Qt::NoTextInteraction);
    m_label->setAlignment(Qt::AlignCenter);

    auto *layout = new QVBoxLayout(this);
    layout->addStretch();
    layout->addWidget(m_indicator, 0, Qt::AlignHCenter);
    layout->addWidget(m_label, 0, Qt::AlignHCenter);
    layout->addStretch();
}

NVCWaitView::~NVCWaitView()
{
    unblurCovered();
}

QString NVCWaitView::message() const
{
    return m_label->text();
}

void NVCWaitView::cover(QWidget *rootView)
{
    for (QWidget *sibling : rootView->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        if (sibling == this || qobject_cast<NVCWaitView *>(sibling) || sibling->graphicsEffect())
            continue;
        auto *blur = new QGraphicsBlurEffect(sibling);
        blur->setBlurRadius(kBlurRadius);
        sibling->setGraphicsEffect(blur);
        m_blurred.append(sibling);
    }
    setParent(rootView);
    setGeometry(rootView->rect());
    rootView->installEventFilter(this);
    raise();
    show();
    setFocus(Qt::OtherFocusReason);
}

void NVCWaitView::unblurCovered()
{
    for (const QPointer<QWidget> &widget : std::as_const(m_blurred)) {
        if (widget)
            widget->setGraphicsEffect(nullptr);
    }
    m_blurred.clear();
}

void NVCWaitView::paintEvent(QPaintEvent *)
{
    QColor background = palette().color(QPalette::Window);
    background.setAlphaF(0.5);
    QPainter(this).fillRect(rect(), background);
}

bool NVCWaitView::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        qCDebug(lcNVCWaitView, "Ignoring mouse click");
        event->accept();
        return true;
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
        event->accept();
        return true;
    default:
        return QWidget::event(event);
    }
}

bool NVCWaitView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parent() && event->type() == QEvent::Resize)
        setGeometry(static_cast<QWidget *>(watched)->rect());
    return QWidget::eventFilter(watched, event);
}

bool NVCWaitView::focusNextPrevChild(bool)
{
    // Tab must not carry the focus to the controls beneath.
    return true;
}
