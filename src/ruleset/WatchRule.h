#pragma once

#include "NVCRuleBase.h"

class WatchRule : public NVCRuleBase
{
public:
    QString toString() const override;
    QString description() const override;
    bool isSameKindAs(const NVCRuleBase &other) const override;

    static QString textForRule(const WatchRule &rule);
};

using WatchRulePtr = std::shared_ptr<WatchRule>;
