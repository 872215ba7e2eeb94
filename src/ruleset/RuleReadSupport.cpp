#include "RuleReadSupport.h"

#include "RuleText.h"

QString StringPool::intern(QStringView text)
{
    if (text.isEmpty())
        return RuleText::emptyText();
    const auto found = m_strings.constFind(text);
    if (found != m_strings.cend())
        return found.value();
    QString copy = text.toString();
    m_strings.insert(QStringView(copy), copy);
    return copy;
}

namespace {

// Covers exactly the fields isEqualTo compares, telling absent texts from empty ones.
size_t equalityHash(const NVCRuleBase &rule)
{
    return qHashMulti(0, rule.policyType, rule.policyClass, rule.operations, rule.flags, rule.path,
                      rule.processName, rule.constraint, rule.path.isNull(), rule.processName.isNull(),
                      rule.constraint.isNull());
}

} // namespace

void DuplicateIndex::insert(const NVCRuleBase &rule)
{
    m_rules.insert(equalityHash(rule), &rule);
}

bool DuplicateIndex::containsEqual(const NVCRuleBase &rule) const
{
    for (auto [it, end] = m_rules.equal_range(equalityHash(rule)); it != end; ++it) {
        if ((*it)->isEqualTo(rule))
            return true;
    }
    return false;
}
