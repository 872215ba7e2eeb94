#include "ApplicationIconProvider.h"
#include "NVCEditPolicyUI.h"
#include "RuleManager.h"
#include "Utilities.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>

namespace {

constexpr int kApplicationIconSize = 96;
const QString kVia = QStringLiteral(" via ");
const QString kViaAny = QStringLiteral(" via any");
const QString kAncestor = QStringLiteral(" ancestor ");

} // namespace

QString NVCEditPolicyUI::getProcess(const QString &text)
{
    if (text.startsWith(QLatin1String("any ")))
        return QStringLiteral("any");
    const qsizetype via = text.indexOf(kVia);
    if (via >= 0)
        return text.left(via);
    if (text.endsWith(kViaAny))
        return text.chopped(kViaAny.size());
    return text;
}

QString NVCEditPolicyUI::getParent(const QString &text)
{
    if (text.endsWith(kViaAny))
        return QStringLiteral("any");
    if (const qsizetype via = text.indexOf(kVia); via >= 0)
        return text.mid(via + kVia.size());
    if (const qsizetype ancestor = text.indexOf(kAncestor); ancestor >= 0)
        return text.mid(ancestor + kAncestor.size());
    return QStringLiteral("");
}

void NVCEditPolicyUI::updateTextField(QLineEdit *field, bool buttonState, const QString &anyString,
                                      const QString &fallback, const std::function<void()> &finalizer)
{
    if (buttonState) {
        field->setText(anyString);
        field->setEnabled(false);
    } else {
        field->setText(fallback == QLatin1String("any") ? QString() : fallback);
        field->setEnabled(true);
    }
    if (finalizer)
        finalizer();
}

void NVCEditPolicyUI::setApplicationIconToView(QLabel *view, const QString &currentProcessName,
                                               const QString &filledInProcess, bool anyCheckboxState)
{
    const QString program = Utilities::expandTilde(getProcess(filledInProcess));
    QIcon icon;
    if (!program.isEmpty() && QFileInfo::exists(program))
        icon = ApplicationIconProvider::shared().iconForProgram(
            RuleManager::applicationBundlePathForPath(filledInProcess));
    else if (anyCheckboxState || currentProcessName.startsWith(QLatin1String("any")))
        icon = QIcon::fromTheme(QStringLiteral("applications-other"),
                                view->style()->standardIcon(QStyle::SP_DirIcon));
    view->setPixmap(icon.isNull() ? QPixmap() : icon.pixmap(kApplicationIconSize, kApplicationIconSize));
}

QColor NVCEditPolicyUI::invalidBorderColor()
{
    return QColor::fromRgbF(0.71f, 0.0f, 0.0f, 1.0f);
}

void NVCEditPolicyUI::setBorderOf(QLineEdit *field, bool isValid)
{
    const QColor color = isValid ? QColor() : invalidBorderColor();
    field->setProperty("borderColor", color);
    field->setStyleSheet(isValid ? QString()
                                 : QStringLiteral("QLineEdit { border: 3px solid %1; }").arg(color.name()));
}

void NVCEditPolicyUI::autoSetPolicyTypeWithPath(const QString &path, QComboBox *popup)
{
    const QString expanded = Utilities::expandTilde(path);
    if (expanded.startsWith(u'.'))
        popup->setCurrentIndex(2);
    else
        popup->setCurrentIndex(QFileInfo(expanded).isDir() ? 0 : 1);
}

bool NVCEditPolicyUI::isExecutableAtPath(const QString &path)
{
    const QFileInfo info(path);
    constexpr QFile::Permissions anyExecute = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
    return info.exists() && (info.permissions() & anyExecute);
}

QString NVCEditPolicyUI::windowTitleWithIsNewPolicy(bool isNewPolicy, bool isWatchRule)
{
    if (isWatchRule)
        return isNewPolicy ? tr("New watch rule") : tr("Edit watch rule");
    return isNewPolicy ? tr("New policy") : tr("Edit policy");
}

void NVCEditPolicyUI::showInvalidInputWarning(QWidget *parent,
                                              const std::function<void(bool proceed)> &answer)
{
    auto *alert = new QMessageBox(parent);
    alert->setObjectName(QStringLiteral("invalidInputWarning"));
    alert->setIcon(QMessageBox::Warning);
    alert->setText(tr("Invalid input"));
    alert->setInformativeText(
        tr("One or more fields contain invalid input. The specified paths either do not exist or are "
           "inaccessible."));
    QPushButton *proceed = alert->addButton(tr("Proceed anyway"), QMessageBox::AcceptRole);
    alert->addButton(tr("Cancel"), QMessageBox::RejectRole);
    alert->setDefaultButton(proceed);
    alert->setWindowModality(Qt::WindowModal);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(alert, &QMessageBox::finished, alert,
                     [alert, proceed, answer] { answer(alert->clickedButton() == proceed); });
    alert->open();
}

void NVCEditPolicyUI::setOperationBoxes(const OperationBoxes &boxes, quint32 operations, bool mountSupported)
{
    constexpr int mountBox = 3;
    for (int bit = 0; bit < int(boxes.size()); ++bit)
        boxes[bit]->setChecked((operations & (1u << bit)) && (bit != mountBox || mountSupported));
}

quint32 NVCEditPolicyUI::operationsFromBoxes(const OperationBoxes &boxes)
{
    quint32 operations = 0;
    for (int bit = 0; bit < int(boxes.size()); ++bit)
        operations |= boxes[bit]->isChecked() ? 1u << bit : 0u;
    return operations;
}
