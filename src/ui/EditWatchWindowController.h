#pragma once

#include "NVCEditPolicyUI.h"
#include "RuleEditorWindow.h"
#include "WatchRule.h"

#include <memory>

namespace Ui {
class EditWatchWindowController;
}

// The watch rule editor: the policy editor without class, parent process and
// constraint. A watch rule's process text is shown whole, never split.
class EditWatchWindowController : public RuleEditorWindow
{
    Q_OBJECT
public:
    EditWatchWindowController(NVCRuleManager *ruleManager, NVCAuthorizationDelegate *authProvider,
                              WatchRulePtr watchRule, bool isNewPolicy, QWidget *parent = nullptr);
    ~EditWatchWindowController() override;

    const WatchRulePtr &watchRule() const { return m_watchRule; }
    Ui::EditWatchWindowController *form() const { return ui.get(); }

    void updateWatchEditor();
    void saveClicked();
    void cancelClicked();

private:
    void windowDidLoad();
    void configureView();
    void updateUI();
    bool isInputValid(bool *pathResult, bool *processResult) const;
    void autoSetWatchType();
    void setApplicationIcon();
    void browsePathClicked();
    void browseApplicationClicked();
    // The watch rule as the controls describe it, written into `rule`.
    void composeRule(WatchRule &rule) const;
    NVCEditPolicyUI::OperationBoxes operationBoxes() const;
    void handleAddWatchPolicy();

    std::unique_ptr<Ui::EditWatchWindowController> ui;
    WatchRulePtr m_watchRule;
};
