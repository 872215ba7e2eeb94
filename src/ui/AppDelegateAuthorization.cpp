#include "AppDelegate.h"
#include "NVCAuthorization.h"
#include "NVCCustomizedStrings.h"
#include "NVCSettingsClient.h"
#include "NVCSettingsPrivilegedClient.h"
#include "RulesEditorTableController.h"

#include <QIcon>
#include <QLoggingCategory>
#include <QPushButton>

Q_DECLARE_LOGGING_CATEGORY(lcAppDelegate)

namespace {

QIcon lockImage(bool locked)
{
    return locked ? QIcon::fromTheme(QStringLiteral("object-locked"),
                                     QIcon(QStringLiteral(":/images/icon_lock.svg")))
                  : QIcon::fromTheme(QStringLiteral("object-unlocked"),
                                     QIcon(QStringLiteral(":/images/icon_unlock.svg")));
}

} // namespace

bool AppDelegate::policySaveNoAdmins() const
{
    return m_settingsPrivilegedClient->systemSettings()
        .value(QString::fromLatin1(NVCSettingsClient::policySaveNoAdminsKey))
        .toBool();
}

void AppDelegate::setupAuthButtonWithAuthState(bool authorized)
{
    QPushButton *button = m_rulesEditorTableController->authorizationButton();
    QString title;
    if (policySaveNoAdmins()) {
        button->setEnabled(false);
        button->setIcon(lockImage(false));
        title = tr("Rule changes are allowed on the %%QUIVENNAME%% preference pane")
                    .replace(QLatin1String("%%QUIVENNAME%%"), m_customizedStrings->quivenName());
    } else {
        button->setEnabled(true);
        button->setIcon(lockImage(!authorized));
        title =
            authorized ? tr("Click the lock again to apply changes.") : tr("Click the lock to make changes.");
    }
    button->setText(QStringLiteral("   %1").arg(title));
    button->setAccessibleName(title);
}

bool AppDelegate::isAuthorized()
{
    const bool authorized = policySaveNoAdmins() || m_authReferenceValid;
    setupAuthButtonWithAuthState(authorized);
    refreshAuthorizationValidity();
    return authorized;
}

void AppDelegate::refreshAuthorizationValidity()
{
    // The answer above is the authority's last one; whether the authorization
    // still holds (it may have expired or been revoked) is asked without waiting.
    if (!m_authReference || m_validityCheckPending)
        return;
    m_validityCheckPending = true;
    const AuthorizationRef asked = m_authReference;
    m_authorization->isValidAsync(asked, this, [this, asked](bool valid) {
        m_validityCheckPending = false;
        if (asked != m_authReference || valid == m_authReferenceValid)
            return;
        m_authReferenceValid = valid;
        Q_EMIT isAuthorizedChanged();
    });
}

std::optional<QByteArray> AppDelegate::externalAuthForm()
{
    if (!m_authReference || !m_authReferenceValid)
        return std::nullopt;
    std::optional<NVCAuthError> error;
    const QByteArray form = m_authorization->dataWithAuthorization(m_authReference, &error);
    if (error)
        return std::nullopt;
    return form;
}

void AppDelegate::doAuthorize()
{
    const QString prompt = m_customizedStrings->customizedAuthorizationMessageWithApplicationName(
        m_customizedStrings->quivenName());
    m_authorization->createAsync(prompt, this, [this](const AuthorizationRef &reference, OSStatus status) {
        qCInfo(lcAppDelegate, "Authorization answered with status %d", status);
        if (status == errAuthorizationSuccess) {
            m_authReference = reference;
            m_authReferenceValid = true;
        }
        // Observers re-read the state either way, which also redraws the lock.
        Q_EMIT isAuthorizedChanged();
    });
}

void AppDelegate::authorize()
{
    const bool was = isAuthorized();
    if (!was) {
        doAuthorize();
    } else {
        m_authorization->destroyAsync(&m_authReference);
        m_authReferenceValid = false;
        // Locking applies the changes: the filter daemon reloads the saved rules.
        ruleReloadAction();
    }
    Q_EMIT isAuthorizedChanged();
    // Deliberately the state before the click; the next isAuthorized() shows the new one.
    setupAuthButtonWithAuthState(was);
}
