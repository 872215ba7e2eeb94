#include "PolicyRule.h"

#include "DaemonRuleRecord.h"
#include "RuleManager.h"
#include "RuleText.h"

#include <QDateTime>
#include <cstring>

namespace {
constexpr qint64 kSecondsPerDay = 86400;
}

// A ruleset holds millions of records: a field added or moved should not widen them unnoticed.
static_assert(sizeof(void *) != 8 || sizeof(PolicyRule) == 88);

PolicyRule::PolicyRule()
    : PolicyRule(quint32(QDateTime::currentSecsSinceEpoch()))
{}

PolicyRule::PolicyRule(quint32 initialized)
    : initialized(initialized)
{}

QString PolicyRule::toString() const
{
    QString cleanTag = tag();
    cleanTag.remove(u'"');
    return RuleText::policyClassWord(policyClass) + u' ' + RuleText::policyTypeWord(policyType) + u" \"" +
           path() + u"\" \"" + processName() + u"\" " + RuleText::operationLetters(operations) + u" \"" +
           cleanTag + u"\" \"" + constraint() + u"\" \"" + QString::number(created) + u"\"\n";
}

QString PolicyRule::description() const
{
    QString text = toString();
    text.remove(u'\n');
    return QStringLiteral("<PolicyRule: SYSTEM:%1 text=%2>").arg(system ? u"YES" : u"NO", text);
}

int PolicyRule::getRuleState() const
{
    if (system)
        return 1;
    return qint64(initialized) - created < kSecondsPerDay ? 2 : 0;
}

QString PolicyRule::getProcessShortName() const
{
    return RuleManager::applicationNameForRule(*this);
}

bool PolicyRule::isSameKindAs(const NVCRuleBase &other) const
{
    return dynamic_cast<const PolicyRule *>(&other) != nullptr;
}

QString PolicyRule::operationsDescription(quint32 operations)
{
    return RuleText::operationLetters(operations);
}

QString PolicyRule::flagsDescription(quint32 flags)
{
    return RuleText::flagLetters(flags & RuleFlag::User);
}

QString PolicyRule::policyClassDescription(quint32 policyClass)
{
    return RuleText::policyClassWord(policyClass);
}

QString PolicyRule::policyTypeDescription(quint32 policyType)
{
    return RuleText::policyTypeWord(policyType);
}

QString PolicyRule::constraintStringForRule(const QByteArray &record)
{
    using namespace DaemonRuleRecord;
    if (std::size_t(record.size()) < MinimumSize)
        return RuleText::emptyText();
    quint32 kind;
    std::memcpy(&kind, record.constData() + ConstraintKind, sizeof kind);
    const char *value = record.constData() + ConstraintValue;
    if (kind == ConstraintKindIdentifier && value[0] != '\0')
        return QString::fromUtf8(value, qstrnlen(value, ConstraintValueSize));
    if (kind == ConstraintKindHash && value[0] != '\0')
        return QString::fromLatin1(QByteArray(value, ConstraintValueSize).toHex());
    return RuleText::emptyText();
}
