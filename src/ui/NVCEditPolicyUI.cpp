#include "NVCEditPolicyUI.h"

#include "AppDelegate.h"
#include "ApplicationIconProvider.h"
#include "NVCCodeSignInfoProvider.h"
#include "RuleManager.h"

#include <QApplication>
#include <QCache>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMutex>
#include <QPainter>
#include <QPalette>

Q_LOGGING_CATEGORY(lcNVCEditPolicyUI, "com.norvalis.NVCEditPolicyUI")

namespace {

constexpr int kNameFontPointSize = 12;
constexpr int kStateImageSize = 12;
constexpr qreal kStateImageOpacity = 0.8;
const QString kPlatformBinaryConstraint = QStringLiteral("APPLE_PF_BINARY");

QString fileDigest(const QString &path, QCryptographicHash::Algorithm algorithm)
{
    struct Digest
    {
        qint64 size;
        QDateTime modified;
        QString hex;
    };
    static QMutex cacheLock;
    static QCache<QString, Digest> cache(4096);

    const QFileInfo info(path);
    const QString key = QString::number(int(algorithm)) + u':' + path;
    QMutexLocker locker(&cacheLock);
    if (const Digest *known = cache.object(key);
        known && known->size == info.size() && known->modified == info.lastModified())
        return known->hex;
    locker.unlock();

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QCryptographicHash hash(algorithm);
    if (!hash.addData(&file))
        return QString();
    const QString hex = QString::fromLatin1(hash.result().toHex());
    locker.relock();
    cache.insert(key, new Digest{info.size(), info.lastModified(), hex});
    return hex;
}

bool constraintMatchesFile(const QString &constraint, const QString &path)
{
    if (constraint.isEmpty())
        return true;
    if (constraint.size() == 40)
        return NVCEditPolicyUI::sha1(path) == constraint;
    if (constraint.size() == 64)
        return NVCEditPolicyUI::sha256(path) == constraint;
    return NVCCodeSignInfoProvider().teamIdentifier(path) == constraint ||
           constraint == kPlatformBinaryConstraint;
}

QIcon stateImage(const QString &name)
{
    QPixmap pixmap(kStateImageSize * 2, kStateImageSize * 2);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setOpacity(kStateImageOpacity);
    QIcon(QStringLiteral(":/images/%1.svg").arg(name)).paint(&painter, pixmap.rect());
    painter.end();
    return QIcon(pixmap);
}

QString operationLetters(quint32 operations)
{
    return RuleManager::operationsForInteger(operations);
}

QString typeWord(quint32 policyType)
{
    switch (policyType) {
    case 0:
        return NVCEditPolicyUI::tr("Prefix");
    case 1:
        return NVCEditPolicyUI::tr("Path");
    case 2:
        return NVCEditPolicyUI::tr("Suffix");
    default:
        return NVCEditPolicyUI::tr("Err");
    }
}

} // namespace

QColor NVCEditPolicyUI::systemRed()
{
    return QColor(0xff, 0x3b, 0x30);
}

QColor NVCEditPolicyUI::systemOrange()
{
    return QColor(0xff, 0x95, 0x00);
}

void NVCEditPolicyUI::setRuleState(int state, RuleCell &cell)
{
    static const QIcon systemImage = stateImage(QStringLiteral("system"));
    static const QIcon newImage = stateImage(QStringLiteral("new"));
    if (state == 1) {
        cell.icon = systemImage;
        cell.accessibleText = tr("System rule");
    } else if (state == 2) {
        cell.icon = newImage;
        cell.accessibleText = tr("New rule");
    }
}

void NVCEditPolicyUI::setApplicationNameForRule(const NVCRuleBase &rule, RuleCell &cell,
                                                const NVCRuleBase *parentRule)
{
    QString name = RuleManager::applicationNameForRule(rule);
    const QString parentName = RuleManager::applicationParentNameForRule(rule);
    if (!parentName.isNull()) {
        const QString format = parentName == QLatin1String("any")
                                   ? tr("%%PROCESSNAME%% via any parent process")
                                   : tr("%%PROCESSNAME%% via %%PARENTPROCESSNAME%%");
        // The parent goes in first, so a name holding the other placeholder stays as it is.
        name = QString(format)
                   .replace(QLatin1String("%%PARENTPROCESSNAME%%"), parentName)
                   .replace(QLatin1String("%%PROCESSNAME%%"), name);
    }
    if (parentRule && RuleManager::applicationGroupIdentityForRule(*parentRule) ==
                          RuleManager::applicationGroupIdentityForRule(rule))
        return;
    cell.icon =
        ApplicationIconProvider::shared().iconForProgram(RuleManager::applicationBundlePathForRule(rule));
    cell.text = name;
    if (!isValidApplicationPath(rule))
        cell.textColor = systemRed();
    QFont font = QApplication::font();
    font.setPointSize(kNameFontPointSize);
    font.setBold(true);
    cell.font = font;
}

void NVCEditPolicyUI::addTag(const NVCRuleBase &rule, RuleCell &cell)
{
    cell.text = rule.tag();
    cell.textColor = QApplication::palette().color(QPalette::Link);
    QFont font = QApplication::font();
    font.setPointSize(kNameFontPointSize);
    cell.font = font;
}

void NVCEditPolicyUI::populatePolicyRule(const PolicyRulePtr &rule, RuleCell &cell, int column,
                                         const NVCRuleBase *parentRule, const RuleManager &manager)
{
    switch (column) {
    case 0:
        break;
    case 1:
        setApplicationNameForRule(*rule, cell, parentRule);
        break;
    case 2:
        cell.text = rule->policyClass == 0 ? tr("Allow") : rule->policyClass == 1 ? tr("Deny") : tr("Err");
        break;
    case 3:
        cell.text = typeWord(rule->policyType);
        break;
    case 4:
        cell.text = RuleManager::operationsForRule(*rule);
        break;
    case 5:
        addTag(*rule, cell);
        break;
    case 6:
        cell.text = RuleManager::pathForRule(*rule);
        if (manager.isRedundant(rule))
            cell.textColor = systemOrange();
        else if (!hasDefaultColor(rule->policyType, rule->path(), rule->system))
            cell.textColor = systemRed();
        break;
    case 7:
        if (!rule->constraint().isEmpty())
            cell.text = QStringLiteral("%1: %2").arg(AppDelegate::labelForConstraint(rule->constraint()),
                                                     rule->constraint());
        break;
    default:
        qCCritical(lcNVCEditPolicyUI, "No cell for column %d", column);
    }
}

void NVCEditPolicyUI::populateWatchRule(const WatchRule &rule, RuleCell &cell, int column)
{
    switch (column) {
    case 0:
    case 7:
        break;
    case 1:
        setApplicationNameForRule(rule, cell, nullptr);
        break;
    case 2:
        cell.text = tr("Watch");
        break;
    case 3:
        cell.text = typeWord(rule.policyType);
        break;
    case 4:
        cell.text = operationLetters(rule.operations);
        break;
    case 5:
        addTag(rule, cell);
        break;
    case 6:
        cell.text = RuleManager::pathForRule(rule);
        if (!hasDefaultColor(rule.policyType, rule.path(), rule.system))
            cell.textColor = systemRed();
        break;
    default:
        qCCritical(lcNVCEditPolicyUI, "No cell for column %d", column);
    }
}

bool NVCEditPolicyUI::isValidApplicationPath(const NVCRuleBase &rule)
{
    const QString applicationPath = RuleManager::applicationPathForRule(rule);
    if (rule.system || rule.processName().startsWith(QLatin1String("any")) ||
        applicationPath.endsWith(u'/') || applicationPath.startsWith(u':') ||
        (applicationPath.startsWith(QLatin1String("/private/var/folders/")) &&
         applicationPath.endsWith(u'.')))
        return true;
    if (!QFileInfo::exists(applicationPath) || !constraintMatchesFile(rule.constraint(), applicationPath))
        return false;
    const QString parentPath = RuleManager::applicationParentPathForRule(rule);
    if (!parentPath.isNull() && !QFileInfo::exists(parentPath))
        return parentPath == QLatin1String("any");
    return true;
}

bool NVCEditPolicyUI::hasDefaultColor(quint32 type, const QString &path, bool isSystem)
{
    if (type == 2 || isSystem)
        return true;
    const QString adjusted = path.startsWith(QLatin1String("~/")) ? QDir::homePath() + path.mid(1) : path;
    if (QFileInfo::exists(adjusted))
        return true;
    if (!path.startsWith(u'/') && !path.startsWith(QLatin1String("~/")))
        return true;
    return adjusted.startsWith(QLatin1String("/dev/"));
}

QString NVCEditPolicyUI::sha1(const QString &path)
{
    return fileDigest(path, QCryptographicHash::Sha1);
}

QString NVCEditPolicyUI::sha256(const QString &path)
{
    return fileDigest(path, QCryptographicHash::Sha256);
}
