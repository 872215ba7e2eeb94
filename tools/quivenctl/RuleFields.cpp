#include "RuleFields.h"

#include "PolicyRule.h"
#include "RuleFieldCheck.h"
#include "RuleManager.h"
#include "WatchRule.h"

#include <QDateTime>

namespace quivenctl {
namespace {

const QString kClass = QStringLiteral("class");
const QString kType = QStringLiteral("type");
const QString kPath = QStringLiteral("path");
const QString kProcess = QStringLiteral("process");
const QString kParent = QStringLiteral("parent");
const QString kOperations = QStringLiteral("operations");
const QString kTag = QStringLiteral("tag");
const QString kConstraint = QStringLiteral("constraint");

const QString kOperationLetters = QStringLiteral("rwcmx");

// The process field joins --process and --parent; name the option that holds the bad text.
QString unwritableOptionName(RuleField field, const QString &parent)
{
    if (field == RuleField::Process && !parent.isEmpty()) {
        PolicyRule parentOnly;
        parentOnly.setProcessName(parent);
        if (unwritableRuleField(parentOnly))
            return kParent;
    }
    return ruleFieldName(field);
}

} // namespace

void addRuleFieldOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        {kClass, QStringLiteral("allow, deny or watch."), QStringLiteral("class")},
        {kType, QStringLiteral("prefix, path or suffix."), QStringLiteral("type")},
        {kPath, QStringLiteral("The file path the rule concerns."), QStringLiteral("path")},
        {kProcess, QStringLiteral("The program, or any."), QStringLiteral("process")},
        {kParent, QStringLiteral("The parent program, or any."), QStringLiteral("parent")},
        {kOperations, QStringLiteral("Letters of r, w, c, m, x."), QStringLiteral("letters")},
        {kTag, QStringLiteral("A label of the rule."), QStringLiteral("tag")},
        {kConstraint, QStringLiteral("The program's code constraint."), QStringLiteral("constraint")},
    });
}

QString missingRuleField(const QCommandLineParser &parser)
{
    for (const QString &required : {kClass, kType, kPath, kProcess})
        if (parser.value(required).isEmpty())
            return required;
    return QString();
}

RuleBasePtr ruleFromFieldOptions(const QCommandLineParser &parser, QString *error)
{
    const QString classWord = parser.value(kClass);
    const bool watch = classWord == QLatin1String("watch");
    const quint32 policyClass = RuleManager::policyClassForString(classWord);
    if (!watch && policyClass != PolicyClass::Allow && policyClass != PolicyClass::Deny) {
        *error =
            QStringLiteral("invalid rule: the class must be allow, deny or watch, not '%1'").arg(classWord);
        return nullptr;
    }
    const quint32 policyType = RuleManager::policyTypeForString(parser.value(kType));
    if (policyType == PolicyType::Invalid) {
        *error = QStringLiteral("invalid rule: the type must be prefix, path or suffix, not '%1'")
                     .arg(parser.value(kType));
        return nullptr;
    }
    const QString letters = parser.value(kOperations);
    // A line without operation letters reads back with its later fields shifted by one.
    if (letters.isEmpty()) {
        *error =
            QStringLiteral("invalid rule: give at least one operation with --operations (r, w, c, m, x)");
        return nullptr;
    }
    for (const QChar letter : letters) {
        if (!kOperationLetters.contains(letter)) {
            *error =
                QStringLiteral("invalid rule: '%1' is not an operation letter (r, w, c, m, x)").arg(letter);
            return nullptr;
        }
    }

    RuleBasePtr rule;
    if (watch)
        rule = std::make_shared<WatchRule>();
    else
        rule = std::make_shared<PolicyRule>();
    if (!watch)
        rule->policyClass = policyClass;
    rule->policyType = policyType;
    rule->setPath(parser.value(kPath));
    const QString parent = parser.value(kParent);
    rule->setProcessName(parent.isEmpty() ? parser.value(kProcess)
                                          : QStringLiteral("%1 via %2").arg(parser.value(kProcess), parent));
    rule->operations = RuleManager::operationsForString(letters);
    if (parser.isSet(kTag))
        rule->setTag(parser.value(kTag));
    if (parser.isSet(kConstraint))
        rule->setConstraint(parser.value(kConstraint));
    rule->created = QDateTime::currentSecsSinceEpoch();

    if (const std::optional<RuleField> field = unwritableRuleField(*rule)) {
        *error = QStringLiteral("invalid rule: the %1 holds a line break or a double quote")
                     .arg(unwritableOptionName(*field, parent));
        return nullptr;
    }
    RuleManager validator;
    if (!validator.validateRule(*rule)) {
        *error = QStringLiteral("invalid rule: the constraint '%1' is not accepted").arg(rule->constraint());
        return nullptr;
    }
    return rule;
}

} // namespace quivenctl
