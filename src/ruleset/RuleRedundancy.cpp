#include "RedundancyIndex.h"
#include "RuleManager.h"

#include <QMutexLocker>

bool RuleManager::isRedundant(const PolicyRulePtr &rule) const
{
    if (!rule)
        return false;
    QMutexLocker locker(&m_groupMapLock);
    const QString key = applicationGroupIdentityForRule(*rule);
    const auto group = m_policyRulesByApplication.constFind(key);
    if (group == m_policyRulesByApplication.cend())
        return false;
    if (!m_redundancyIndex)
        m_redundancyIndex = std::make_unique<RedundancyIndex>();
    return m_redundancyIndex->isRedundant(*group, *rule);
}

void RuleManager::invalidateRedundancyIndex() const
{
    QMutexLocker locker(&m_groupMapLock);
    m_redundancyIndex.reset();
}
