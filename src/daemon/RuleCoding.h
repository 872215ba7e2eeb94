#pragma once

#include "PolicyRule.h"
#include "WatchRule.h"

#include <QList>
#include <QVariantMap>

// Rules cross the bus as their archived records, one a{sv} per rule.
namespace quiven::dbus {

QList<QVariantMap> archiveWatchRules(const QList<WatchRulePtr> &rules);
QList<QVariantMap> archivePolicyRules(const QList<PolicyRulePtr> &rules);

// False with a text naming the bad record when any value has the wrong type.
bool unarchiveWatchRules(const QList<QVariantMap> &archives, QList<WatchRulePtr> *rules, QString *error);
bool unarchivePolicyRules(const QList<QVariantMap> &archives, QList<PolicyRulePtr> *rules, QString *error);

} // namespace quiven::dbus
