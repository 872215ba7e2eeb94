#include "DevAuthorizationBackend.h"

#include <unistd.h>

std::optional<OSStatus> DevAuthorizationBackend::answerFor(const QString &setting)
{
    if (setting.isEmpty() || setting == QLatin1String("grant"))
        return errAuthorizationSuccess;
    if (setting == QLatin1String("deny"))
        return errAuthorizationDenied;
    if (setting == QLatin1String("cancel"))
        return errAuthorizationCanceled;
    return std::nullopt;
}

void DevAuthorizationBackend::check(const AuthorizationSubject &subject, const QString &actionId,
                                    const QString &, bool, const Done &done)
{
    if (actionId != QLatin1String(kLocalSessionAction)) {
        done(m_answer);
        return;
    }
    const bool inSession = subject.uid == 0 || subject.uid == ::getuid();
    done(inSession ? errAuthorizationSuccess : errAuthorizationDenied);
}
