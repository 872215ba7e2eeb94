#include "NVCActivity.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcActivity, "com.norvalis.activity")

NVCActivity::NVCActivity(const QString &label)
    : m_label(label)
{
    qCDebug(lcActivity, "Activity started: %s", qUtf8Printable(m_label));
}

NVCActivity::~NVCActivity()
{
    qCDebug(lcActivity, "Activity ended: %s", qUtf8Printable(m_label));
}
