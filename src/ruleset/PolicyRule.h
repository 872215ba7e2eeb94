#pragma once

#include "NVCRuleBase.h"

class PolicyRule : public NVCRuleBase
{
public:
    PolicyRule();
    // Built at `initialized` (seconds since 1970), for records made many at a time.
    explicit PolicyRule(quint32 initialized);

    // Seconds since 1970 when the record was built. 32 bits fit the padding
    // after the base's fields: a ruleset holds millions of records.
    quint32 initialized;

    QString toString() const override;
    QString description() const override;
    int getRuleState() const override;
    QString getProcessShortName() const override;
    bool isSameKindAs(const NVCRuleBase &other) const override;

    static QString operationsDescription(quint32 operations);
    static QString flagsDescription(quint32 flags);
    static QString policyClassDescription(quint32 policyClass);
    static QString policyTypeDescription(quint32 policyType);
    // Constraint text of a daemon rule record (identifier, or hash as 64 hex digits).
    static QString constraintStringForRule(const QByteArray &record);
};

using PolicyRulePtr = std::shared_ptr<PolicyRule>;
