#pragma once

#include "NVCEditPolicyUI.h"
#include "PolicyRule.h"
#include "RuleEditorWindow.h"

#include <memory>

namespace Ui {
class EditPolicyWindowController;
}

// The allow/deny rule editor: one rule in controls, the typed paths checked
// while typing, and on Save the rule replaced in the store and the user's
// rules written through the filter daemon. System rules are read-only.
class EditPolicyWindowController : public RuleEditorWindow
{
    Q_OBJECT
public:
    EditPolicyWindowController(NVCRuleManager *ruleManager, NVCAuthorizationDelegate *authProvider,
                               PolicyRulePtr policyRule, bool isNewPolicy, QWidget *parent = nullptr);
    ~EditPolicyWindowController() override;

    const PolicyRulePtr &policyRule() const { return m_policyRule; }
    Ui::EditPolicyWindowController *form() const { return ui.get(); }

    // Refills every control from the rule.
    void updatePolicyEditor();
    void saveClicked();
    void cancelClicked();

private:
    void windowDidLoad();
    void configureView();
    void updateUI();
    bool isInputValid(bool *pathResult, bool *processResult, bool *parentResult) const;
    void autoSetPolicyType();
    void setConstraintLabel();
    void setApplicationIcon();
    void browsePathClicked();
    void browseParentClicked();
    void browseApplicationClicked();
    // The rule as the controls describe it, written into `rule`.
    void composeRule(PolicyRule &rule) const;
    NVCEditPolicyUI::OperationBoxes operationBoxes() const;
    void handleAddPolicy();

    std::unique_ptr<Ui::EditPolicyWindowController> ui;
    PolicyRulePtr m_policyRule;
};
