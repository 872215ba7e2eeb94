#include "AppDelegate.h"
#include "DGPreferencesWindow.h"
#include "NVCAuthorization.h"
#include "NVCCustomizedStrings.h"

#include <QLoggingCategory>
#include <QPointer>
#include <algorithm>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>
#include <vector>

Q_DECLARE_LOGGING_CATEGORY(lcAppDelegate)

void AppDelegate::showPreferences()
{
    qCDebug(lcAppDelegate, "showing settings window");
    QPointer<AppDelegate> self(this);
    m_preferencesWindow = std::make_unique<DGPreferencesWindow>(
        isAdminUser(), [self](QObject *context, const std::function<void(bool)> &done) {
            if (self)
                self->performAuthentication(context, done);
            else
                done(false);
        });
    connect(m_preferencesWindow.get(), &DGPreferencesWindow::windowWillClose, this, [this] {
        // Started only for the preferences: closing them ends the application.
        if (m_showPreferences)
            requestTermination();
    });
    m_preferencesWindow->show();
    m_preferencesWindow->raise();
}

bool AppDelegate::isAdminUser()
{
    const passwd *user = getpwuid(getuid());
    if (!user)
        return false;
    for (const char *name : {"admin", "sudo", "wheel"}) {
        const group *administrators = getgrnam(name);
        if (!administrators)
            continue;
        int count = 64;
        std::vector<gid_t> groups(std::size_t(count), 0);
        if (getgrouplist(user->pw_name, user->pw_gid, groups.data(), &count) < 0) {
            groups.resize(std::size_t(count));
            if (getgrouplist(user->pw_name, user->pw_gid, groups.data(), &count) < 0)
                return false;
        }
        groups.resize(std::size_t(count));
        return std::find(groups.begin(), groups.end(), administrators->gr_gid) != groups.end();
    }
    return false;
}

void AppDelegate::performAuthentication(QObject *context, const std::function<void(bool)> &done)
{
    // No biometric check on this platform: the administrator's password decides.
    const QString prompt = m_customizedStrings->customizedAuthorizationMessageWithApplicationName(
        m_customizedStrings->quivenName());
    const std::shared_ptr<NVCAuthorization> authorization = m_authorization;
    authorization->createAsync(
        prompt, context, [authorization, done](const AuthorizationRef &reference, OSStatus status) {
            qCInfo(lcAppDelegate, "Authentication for the preferences answered with status %d", status);
            // Only the answer counts; the authorization itself is not kept.
            AuthorizationRef answered = reference;
            if (answered)
                authorization->free(&answered, 0);
            done(status == errAuthorizationSuccess);
        });
}
