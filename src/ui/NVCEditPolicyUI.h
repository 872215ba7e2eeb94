#pragma once

#include "PolicyRule.h"
#include "RuleCell.h"
#include "WatchRule.h"

#include <QCoreApplication>
#include <array>
#include <functional>

class QComboBox;
class QLabel;
class QLineEdit;
class QWidget;
class QAbstractButton;
class RuleManager;

// Helpers the rules table and both rule editors share: the texts, colours and
// icons of the table's cells and the checks behind them.
class NVCEditPolicyUI
{
    Q_DECLARE_TR_FUNCTIONS(NVCEditPolicyUI)
public:
    static constexpr int columnCount = 8;

    // An editor's operation check boxes in bit order: read 1, write 2,
    // create 4, mount 8, execute 16.
    using OperationBoxes = std::array<QAbstractButton *, 5>;
    // Mount stays unticked where mounts are not supported, whatever the rule holds.
    static void setOperationBoxes(const OperationBoxes &boxes, quint32 operations, bool mountSupported);
    static quint32 operationsFromBoxes(const OperationBoxes &boxes);

    // Column 0: the "system" or "new" image for states 1 and 2.
    static void setRuleState(int state, RuleCell &cell);
    // `parentRule` is the policy rule of the row above, when there is one.
    static void populatePolicyRule(const PolicyRulePtr &rule, RuleCell &cell, int column,
                                   const NVCRuleBase *parentRule, const RuleManager &manager);
    static void populateWatchRule(const WatchRule &rule, RuleCell &cell, int column);
    // The name and icon show only on the first row of an application group.
    static void setApplicationNameForRule(const NVCRuleBase &rule, RuleCell &cell,
                                          const NVCRuleBase *parentRule);
    static void addTag(const NVCRuleBase &rule, RuleCell &cell);

    static bool isValidApplicationPath(const NVCRuleBase &rule);
    static bool hasDefaultColor(quint32 type, const QString &path, bool isSystem);
    // Lower-case hexadecimal digests of a file's whole contents; null when it
    // cannot be read. Kept per file while its size and time stay the same.
    static QString sha1(const QString &path);
    static QString sha256(const QString &path);

    // ---- what both rule editors share ----
    // The program of a process text: "any" for "any ...", else the part before
    // " via " (or before a final " via any"), else the whole text.
    static QString getProcess(const QString &text);
    // The parent of a process text: "any" for "... via any", else the part
    // after " via " or after " ancestor ", else the empty text.
    static QString getParent(const QString &text);
    // Ticked: the field shows `anyString` and is disabled. Unticked: it shows
    // the fallback ("any" shows empty) and is enabled. Then `finalizer`.
    static void updateTextField(QLineEdit *field, bool buttonState, const QString &anyString,
                                const QString &fallback, const std::function<void()> &finalizer);
    // The 96x96 icon of the typed program, of "any application", or none.
    static void setApplicationIconToView(QLabel *view, const QString &currentProcessName,
                                         const QString &filledInProcess, bool anyCheckboxState);
    static void setBorderOf(QLineEdit *field, bool isValid);
    // "." first: suffix; an existing folder: prefix; anything else: path.
    static void autoSetPolicyTypeWithPath(const QString &path, QComboBox *popup);
    static bool isExecutableAtPath(const QString &path);
    static QString windowTitleWithIsNewPolicy(bool isNewPolicy, bool isWatchRule);
    // The "Invalid input" question over `parent`; `answer` gets true for "Proceed anyway".
    static void showInvalidInputWarning(QWidget *parent, const std::function<void(bool proceed)> &answer);
    static QColor invalidBorderColor();

    // The colours the table and editors mark texts with.
    static QColor systemRed();
    static QColor systemOrange();
};
