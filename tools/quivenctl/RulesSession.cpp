#include "RulesSession.h"

#include "NVCSettingsClient.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <limits>
#include <optional>

namespace quivenctl {
namespace {

// A save may wait for the daemon's own checks; nothing here waits for a person.
constexpr int kAnswerTimeoutMs = 30000;

bool waitFor(const std::function<bool()> &condition, int timeoutMs = kAnswerTimeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 50);
    }
    return true;
}

QString authorizationFailure(OSStatus status)
{
    switch (status) {
    case errAuthorizationCanceled:
        return QStringLiteral("the authorization was cancelled; nothing was saved");
    case errAuthorizationDenied:
        return QStringLiteral("the authorization was denied; nothing was saved");
    case errAuthorizationInteractionNotAllowed:
        return QStringLiteral("saving needs an administrator's authorization, which cannot be asked for "
                              "without a terminal or with --no-prompt; nothing was saved");
    default:
        return QStringLiteral("the authorization failed with status %1; nothing was saved").arg(status);
    }
}

} // namespace

RulesSession::RulesSession()
    : m_bus(QDBusConnection::systemBus())
{}

bool RulesSession::load(QString *error)
{
    if (!m_bus.isConnected()) {
        *error = QStringLiteral("cannot reach the system bus: %1").arg(m_bus.lastError().message());
        return false;
    }
    m_manager = std::make_unique<NVCRuleManager>(m_bus);
    // A missing settings daemon would leave the load waiting for good, so look first.
    for (const QString &service :
         {m_manager->settingsClient()->serviceName(), m_manager->quivenClient()->serviceName()}) {
        if (!m_bus.interface()->isServiceRegistered(service).value()) {
            *error = QStringLiteral("the daemon %1 is not running").arg(service);
            return false;
        }
    }
    std::optional<bool> loaded;
    m_manager->loadSystemRuleSetWithCallback([&loaded](bool ok) { loaded = ok; });
    if (!waitFor([&loaded] { return loaded.has_value(); }) || !*loaded) {
        *error = QStringLiteral("the daemons did not deliver the ruleset");
        return false;
    }
    return true;
}

bool RulesSession::save(bool interactive, QString *error)
{
    // Whether non-administrators may save comes from the settings client's cache.
    if (!waitFor([this] { return !m_manager->settingsClient()->systemSettings().isEmpty(); })) {
        *error = QStringLiteral("the settings daemon did not deliver its settings");
        return false;
    }
    m_manager->quivenClient()->setInteractionAllowed(interactive);
    QByteArray form;
    OSStatus status = errAuthorizationInternal;
    NVCQUIVENRuleClient::Release release;
    bool authorized = false;
    m_manager->authorizeWithCallback(
        [&](const QByteArray &externalForm, OSStatus answer, const NVCQUIVENRuleClient::Release &releaser) {
            form = externalForm;
            status = answer;
            release = releaser;
            authorized = true;
        });
    // The user may take their time over the prompt; the authority bounds the wait.
    waitFor([&authorized] { return authorized; }, std::numeric_limits<int>::max());
    if (status != errAuthorizationSuccess) {
        if (release)
            release();
        *error = authorizationFailure(status);
        return false;
    }

    // Sent through the rule client rather than the manager's save: the tool
    // reports the daemon's refusal text, which the manager only logs.
    std::optional<QString> outcome;
    m_manager->quivenClient()->setUserWatchRules(
        m_manager->userWatchRules(), m_manager->userPolicies(), form,
        [&outcome](const QDBusError &daemonError) {
            outcome = daemonError.isValid() ? daemonError.message() : QString();
        },
        [&outcome](const QDBusError &failure) {
            outcome = QStringLiteral("the filter daemon did not take the rules: %1").arg(failure.message());
        });
    const bool answered = waitFor([&outcome] { return outcome.has_value(); });
    if (release)
        release();
    if (!answered) {
        *error = QStringLiteral("the filter daemon did not answer");
        return false;
    }
    if (!outcome->isEmpty()) {
        *error = *outcome;
        return false;
    }
    return true;
}

} // namespace quivenctl
