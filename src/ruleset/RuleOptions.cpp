#include "PreferencesFile.h"
#include "ProductFolders.h"
#include "RuleLogging.h"
#include "RuleManager.h"
#include "RuleText.h"

namespace {

bool variantIsTrue(const QVariant &value)
{
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::LongLong:
    case QMetaType::Int:
        return value.toLongLong() != 0;
    case QMetaType::Double:
        return value.toDouble() != 0;
    case QMetaType::QString:
        return RuleText::textIsTrue(value.toString());
    default:
        return false;
    }
}

qint32 variantAsInt32(const QVariant &value)
{
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        return value.toBool() ? 1 : 0;
    case QMetaType::LongLong:
    case QMetaType::Int:
        // A number wider than 32 bits keeps its low bits.
        return qint32(quint32(value.toLongLong()));
    case QMetaType::Double: {
        const double number = value.toDouble();
        if (!(number > -2147483649.0 && number < 2147483648.0))
            return 0;
        return qint32(number);
    }
    case QMetaType::QString:
        return RuleText::leadingInt32(value.toString());
    default:
        return 0;
    }
}

} // namespace

void RuleManager::addOptionWithParts(const QStringList &parts)
{
    if (parts.size() < 3) {
        qCWarning(lcRuleManagement, "Ignoring incomplete option line %s", qUtf8Printable(parts.join(u' ')));
        return;
    }
    FilterOption option;
    option.name = parts.at(1);
    option.value = quint32(quint64(RuleText::leadingInteger(parts.at(2))));
    qCDebug(lcRuleManagement, "option %s set to %u", qUtf8Printable(option.name), option.value);
    QMutexLocker locker(&m_optionListLock);
    m_filterOptions.append(option);
}

void RuleManager::loadOptions()
{
    QMutexLocker locker(&m_lock);
    m_settings = readPreferencesFile(ProductFolders::preferencesFile());
    if (!m_settings)
        return;
    static const char *const booleanKeys[] = {"filter.use-tval", "access.user.restrict",
                                              "access.user.create"};
    static const char *const integerKeys[] = {
        "filter.tval-lookup-hash",  "filter.tval-lookup-teamid", "access.user.detail",
        "security.hashing.enforce", "filter.exec.allow.signed",  "policy.global.user",
        "policy.global.webcam",     "policy.global.startup",     "policy.global.exec",
        "policy.global.attach",     "policy.global.paranoid",    "ui.prompts.while_locked",
        "ui.prompts.oob",           "ui.prompts.remote",         "ui.prompts.authenticate",
    };
    for (const char *key : booleanKeys)
        loadOptionAsBool(QString::fromLatin1(key));
    for (const char *key : integerKeys)
        loadOptionAsInteger(QString::fromLatin1(key));
}

void RuleManager::loadOptionAsBool(const QString &key)
{
    const QVariant value = m_settings ? m_settings->value(key) : QVariant();
    QMutexLocker locker(&m_optionListLock);
    m_filterOptions.append(FilterOption{variantIsTrue(value) ? 1u : 0u, key});
}

void RuleManager::loadOptionAsInteger(const QString &key)
{
    const QVariant value = m_settings ? m_settings->value(key) : QVariant();
    QMutexLocker locker(&m_optionListLock);
    m_filterOptions.append(FilterOption{quint32(variantAsInt32(value)), key});
}

quint32 RuleManager::getOption(const QString &name) const
{
    QMutexLocker locker(&m_optionListLock);
    for (const FilterOption &option : m_filterOptions) {
        if (option.name == name) {
            qCDebug(lcRuleManagement, "Got option %s - %d", qUtf8Printable(name), int(option.value));
            return option.value;
        }
    }
    return 0;
}
