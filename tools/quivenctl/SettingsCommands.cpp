#include "CommandLine.h"
#include "CommandRegistry.h"
#include "DaemonAnswer.h"
#include "NVCAuthorization.h"
#include "NVCCustomizedStrings.h"
#include "NVCSettingsPrivilegedClient.h"

#include <QJsonObject>
#include <unistd.h>

namespace quivenctl {
namespace {

const QString kUsage =
    QStringLiteral("settings get | set ruleset 0|1|2 [--no-prompt] | set learning on|off [--no-prompt]");

// A parsed "settings set": which setter to call with what.
struct SettingChange
{
    std::function<void(NVCSettingsPrivilegedClient &, const QByteArray &,
                       NVCSettingsPrivilegedClient::ErrorReply)>
        apply;
};

std::optional<SettingChange> parseChange(const QStringList &words, QString *problem)
{
    if (words.size() != 3) {
        *problem = QStringLiteral("settings set takes a setting and a value");
        return std::nullopt;
    }
    const QString &setting = words.at(1);
    const QString &value = words.at(2);
    if (setting == QLatin1String("ruleset")) {
        bool ok = false;
        const uint ruleSet = value.toUInt(&ok);
        if (!ok || ruleSet > 2) {
            *problem = QStringLiteral("the system ruleset is 0, 1 or 2, not '%1'").arg(value);
            return std::nullopt;
        }
        return SettingChange{[ruleSet](auto &client, const QByteArray &form, auto reply) {
            client.setQUIVENSystemRuleSet(ruleSet, form, std::move(reply));
        }};
    }
    if (setting == QLatin1String("learning")) {
        if (value != QLatin1String("on") && value != QLatin1String("off")) {
            *problem = QStringLiteral("learning mode is on or off, not '%1'").arg(value);
            return std::nullopt;
        }
        const bool enabled = value == QLatin1String("on");
        return SettingChange{[enabled](auto &client, const QByteArray &form, auto reply) {
            client.setQUIVENLearningMode(enabled, form, std::move(reply));
        }};
    }
    *problem = QStringLiteral("unknown setting '%1'").arg(setting);
    return std::nullopt;
}

QString refusalText(OSStatus status)
{
    switch (status) {
    case errAuthorizationCanceled:
        return QStringLiteral("the authorization was cancelled");
    case errAuthorizationDenied:
        return QStringLiteral("the authorization was denied");
    case errAuthorizationInteractionNotAllowed:
        return QStringLiteral(
            "the authorization needs a prompt, which --no-prompt or a missing terminal rules out");
    default:
        return QStringLiteral("no authorization could be obtained (status %1)").arg(status);
    }
}

int printSystemSettings(NVCSettingsClient &client)
{
    DaemonAnswer answer;
    QVariantMap settings;
    QDBusError error;
    client.getSystemSettingsWithReply([&](const QVariantMap &received, const QDBusError &failure) {
        settings = received;
        error = failure;
        answer.arrived();
    });
    if (!answer.wait())
        return daemonFailure(QStringLiteral("the settings daemon did not answer"));
    if (error.isValid())
        return daemonFailure(error);
    printJson(QJsonDocument(QJsonObject::fromVariantMap(settings)));
    return ExitSuccess;
}

int changeSetting(const QDBusConnection &bus, const SettingChange &change, bool interactive)
{
    const NVCCustomizedStrings strings(std::make_shared<NVCCustomization>());
    const auto client = NVCSettingsClient::createPrivilegedClientWithCustomizedAuthMessage(
        bus, strings.customizedAuthorizationMessage());
    NVCAuthorization &authorization = *client->authorization();
    const quint32 flags =
        interactive ? authorization.flags() : authorization.flags() & ~kAuthorizationFlagInteractionAllowed;

    AuthorizationRef reference;
    const OSStatus status = authorization.create(&reference, client->customizedAuthMessage, flags);
    if (status != errAuthorizationSuccess)
        return daemonFailure(refusalText(status));
    std::optional<NVCAuthError> formError;
    const QByteArray externalForm = authorization.dataWithAuthorization(reference, &formError);
    if (formError) {
        authorization.destroy(&reference);
        return daemonFailure(formError->localizedDescription);
    }

    DaemonAnswer answer;
    QDBusError error;
    change.apply(*client, externalForm, [&](const QDBusError &failure) {
        error = failure;
        answer.arrived();
    });
    const bool answered = answer.wait();
    // The authorization was made for this one change; nobody may reuse it.
    authorization.destroy(&reference);
    if (!answered)
        return daemonFailure(QStringLiteral("the settings daemon did not answer"));
    if (error.isValid())
        return daemonFailure(error);
    return printSystemSettings(*client);
}

int settings(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption noPrompt(
        QStringLiteral("no-prompt"),
        QStringLiteral("Never ask; fail unless an authorization is granted silently."));
    parser.addOption(noPrompt);
    if (!parseArguments(parser, arguments, kUsage))
        return ExitUsage;
    const QStringList words = parser.positionalArguments();
    const QString action = words.value(0);

    std::optional<SettingChange> change;
    if (action == QLatin1String("get")) {
        if (words.size() != 1 || parser.isSet(noPrompt))
            return usageError(QStringLiteral("settings get takes no arguments"), kUsage);
    } else if (action == QLatin1String("set")) {
        QString problem;
        change = parseChange(words, &problem);
        if (!change)
            return usageError(problem, kUsage);
    } else {
        return usageError(QStringLiteral("settings needs get or set"), kUsage);
    }

    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected())
        return daemonFailure(QStringLiteral("cannot reach the system bus: ") + bus.lastError().message());
    if (!change) {
        const auto client = NVCSettingsClient::createNonPrivilegedClient(bus);
        return printSystemSettings(*client);
    }
    // Whoever runs the tool without a terminal cannot answer a prompt.
    const bool interactive = !parser.isSet(noPrompt) && ::isatty(STDIN_FILENO);
    return changeSetting(bus, *change, interactive);
}

const CommandRegistration registration(QStringLiteral("settings"), kUsage, settings);

} // namespace
} // namespace quivenctl
