#pragma once

#include "PolicyRule.h"
#include "WatchRule.h"

#include <QList>
#include <QString>

// What the suggestion import window tells its owner. Every step may be left
// as it is by an owner that has nothing to do there.
class ImportWindowDelegate
{
public:
    virtual ~ImportWindowDelegate() = default;

    // The window has loaded the rules of `path`.
    virtual void showRulesSuggestionDialogForPath(const QString &path) { Q_UNUSED(path); }
    // The rules that stayed checked.
    virtual void importPolicies(const QList<PolicyRulePtr> &policies, const QList<WatchRulePtr> &watchRules)
    {
        Q_UNUSED(policies);
        Q_UNUSED(watchRules);
    }
    // The window is about to close.
    virtual void finishImport() {}
};
