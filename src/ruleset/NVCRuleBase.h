#pragma once

#include "RuleEnums.h"

#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>

// Common base of allow/deny and watch rules. Records are reference types:
// the store holds them through shared pointers and compares identity.
class NVCRuleBase
{
public:
    NVCRuleBase();
    virtual ~NVCRuleBase();

    quint32 policyClass = 0;
    quint32 policyType = 0;
    quint32 operations = 0;
    quint32 flags = 0;
    QString path;
    QString processName;
    QString tag;        // "" by default
    QString constraint; // "" by default; null means absent
    QString processShortName;
    qint64 created = 0;
    qint64 sequence = 0;
    // Last, so that a derived record's small fields fill the padding after it.
    bool system = false;

    // The ruleset-file line, ending in a newline (empty for a bare base record).
    virtual QString toString() const;
    virtual QString description() const;
    // 1 system rule, 2 created less than a day before the record was built, 0 otherwise.
    virtual int getRuleState() const;
    virtual QString getProcessShortName() const;
    // True when `other` is of this record's class or a class derived from it.
    virtual bool isSameKindAs(const NVCRuleBase &other) const;

    bool isEqualTo(const NVCRuleBase &other) const;
    bool isEqualToRuleWithPrefix(const NVCRuleBase &other) const;

    // Archived (coded) form: exactly the record's coding keys; absent texts are left out.
    QVariantMap archive() const;
    // Fills this record from an archive; false with `error` set when a value has the wrong type.
    bool unarchive(const QVariantMap &archive, QString *error);

    // One ruleset-file line for a daemon rule record, or none (unknown class).
    static std::optional<QString> textForRule(const QByteArray &record, const QString &homeDirectory);

protected:
    bool fieldsEqual(const NVCRuleBase &other, bool comparePathsAsDirectories) const;
};

using RuleBasePtr = std::shared_ptr<NVCRuleBase>;
