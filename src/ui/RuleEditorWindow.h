#pragma once

#include "AuthorizationStatus.h"
#include "NVCAuthorizationDelegate.h"

#include <QDialog>
#include <QPointer>
#include <functional>

class NVCRuleBase;
class NVCRuleManager;

// What the policy and watch rule editors have in common: the store and the
// authorization provider they save with, the path chooser, and the save
// through the authorization that never waits on the GUI thread.
class RuleEditorWindow : public QDialog
{
    Q_OBJECT
public:
    using Finalizer = std::function<void()>;

    RuleEditorWindow(NVCRuleManager *ruleManager, NVCAuthorizationDelegate *authProvider, bool isNewPolicy,
                     QWidget *parent);

    bool isNewPolicy() const { return m_isNewPolicy; }
    bool mountSupported() const { return m_mountSupported; }
    NVCAuthorizationDelegate *authProvider() const { return m_authProvider; }

    // Escape closes the window like Cancel.
    void reject() override;

Q_SIGNALS:
    // A save ended: written (true) or refused by the authorization (false).
    void saveFinished(bool saved);

protected:
    void closeEvent(QCloseEvent *event) override;
    bool isAuthorized() const;
    // A chooser for one file or folder, titled "Use Path", starting in
    // `startFolder`; `chosen` gets the path when the user picks one.
    void fileDialog(const QString &startFolder, const std::function<void(const QString &path)> &chosen);
    // Asks "Invalid input" first when `valid` is false; `proceed` runs when
    // the input is valid or the user goes on anyway.
    void confirmInput(bool valid, const std::function<void()> &proceed);
    // True, after telling the user which field, when the rule as composed
    // holds a text its file line cannot keep (a line break, a double quote).
    bool refuseUnwritableFields(const NVCRuleBase &composed);
    // Runs `handleAdd` and writes the user's rules with the current
    // authorization or one the user grants now; a refusal changes nothing.
    void addPolicy(const QString &activity, const std::function<void()> &handleAdd);

    NVCRuleManager *m_ruleManager;
    bool m_mountSupported = false;

private:
    void doSavePolicyWithAuthForm(const QByteArray &authForm, OSStatus status, const Finalizer &finalizer,
                                  const std::function<void()> &handleAdd);

    QPointer<NVCAuthorizationDelegate> m_authProvider;
    bool m_isNewPolicy;
};
