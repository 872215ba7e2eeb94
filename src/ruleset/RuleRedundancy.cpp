#include "RedundancyIndex.h"
#include "RuleManager.h"

#include <QMutexLocker>

bool RuleManager::isRedundant(const PolicyRulePtr &rule) const
{
    if (!rule)
        return false;
    QMutexLocker locker(&m_groupMapLock);
    if (!m_redundancyIndex)
        m_redundancyIndex = std::make_unique<RedundancyIndex>();
    return m_redundancyIndex->isRedundant(m_policyRulesByApplication, *rule);
}

void RuleManager::invalidateRedundancyIndex() const
{
    QMutexLocker locker(&m_groupMapLock);
    m_redundancyIndex.reset();
}
