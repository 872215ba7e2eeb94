#pragma once

#include "RecordPath.h"
#include "RuleEnums.h"
#include "SharedText.h"

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
    qint64 created = 0;
    qint64 sequence = 0;

private:
    // Before `system`, so that it and a derived record's small fields share
    // the last eight bytes: a ruleset holds millions of records.
    RecordPath m_path;
    SharedText m_processName;
    SharedText m_tag;
    SharedText m_constraint;
    SharedText m_processShortName;

public:
    bool system = false;

    QString path() const { return m_path.text(); }
    // The path without a copy, valid while the record lives and its path is unchanged.
    QStringView pathView() const { return m_path.view(); }
    void setPath(const QString &text) { m_path.set(text); }
    // For a reader placing the path in the same storage as the record: the
    // text must live exactly as long as the record.
    void setPathKeptWithRecord(QStringView text) { m_path.setKeptWithRecord(text); }

    // Texts that many rules repeat are held as shared numbers: a ruleset holds
    // millions of records.
    const QString &processName() const { return m_processName.text(); }
    void setProcessName(const QString &text) { m_processName = SharedText(text); }
    void setProcessName(SharedText text) { m_processName = text; }
    const QString &tag() const { return m_tag.text(); } // "" by default
    void setTag(const QString &text) { m_tag = SharedText(text); }
    void setTag(SharedText text) { m_tag = text; }
    // "" by default; null means absent.
    const QString &constraint() const { return m_constraint.text(); }
    void setConstraint(const QString &text) { m_constraint = SharedText(text); }
    void setConstraint(SharedText text) { m_constraint = text; }
    const QString &processShortName() const { return m_processShortName.text(); }
    void setProcessShortName(const QString &text) { m_processShortName = SharedText(text); }
    // Equal exactly when the texts are: comparing these spares comparing characters.
    SharedText sharedProcessName() const { return m_processName; }
    SharedText sharedTag() const { return m_tag; }
    SharedText sharedConstraint() const { return m_constraint; }

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
