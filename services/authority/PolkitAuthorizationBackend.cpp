#include "PolkitAuthorizationBackend.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcPolkitAuthorizationBackend, "com.norvalis.PolkitAuthorizationBackend")

namespace polkit {

struct PolkitSubject
{
    QString kind;
    QVariantMap details;
};

QDBusArgument &operator<<(QDBusArgument &argument, const PolkitSubject &subject)
{
    argument.beginStructure();
    argument << subject.kind << subject.details;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, PolkitSubject &subject)
{
    argument.beginStructure();
    argument >> subject.kind >> subject.details;
    argument.endStructure();
    return argument;
}

} // namespace polkit

Q_DECLARE_METATYPE(polkit::PolkitSubject)

namespace {

using polkit::PolkitSubject;
using PolkitDetails = QMap<QString, QString>;

constexpr quint32 kAllowUserInteraction = 1;
constexpr int kInteractiveTimeoutMs = 10 * 60 * 1000;
constexpr int kQuietTimeoutMs = 25 * 1000;

void registerTypes()
{
    static const bool registered = [] {
        qDBusRegisterMetaType<PolkitSubject>();
        qDBusRegisterMetaType<PolkitDetails>();
        return true;
    }();
    Q_UNUSED(registered);
}

} // namespace

PolkitAuthorizationBackend::PolkitAuthorizationBackend(const QDBusConnection &connection, QObject *parent)
    : QObject(parent)
    , m_connection(connection)
{
    registerTypes();
}

OSStatus PolkitAuthorizationBackend::statusForResult(bool authorized, bool challenge,
                                                     const QMap<QString, QString> &details)
{
    if (authorized)
        return errAuthorizationSuccess;
    if (details.value(QStringLiteral("polkit.dismissed")) == QLatin1String("true"))
        return errAuthorizationCanceled;
    return challenge ? errAuthorizationInteractionNotAllowed : errAuthorizationDenied;
}

OSStatus PolkitAuthorizationBackend::statusForError(const QString &errorName)
{
    if (errorName == QLatin1String("org.freedesktop.PolicyKit1.Error.Cancelled"))
        return errAuthorizationCanceled;
    if (errorName == QLatin1String("org.freedesktop.PolicyKit1.Error.NotAuthorized"))
        return errAuthorizationDenied;
    return errAuthorizationInternal;
}

void PolkitAuthorizationBackend::check(const AuthorizationSubject &subject, const QString &actionId,
                                       const QString &message, bool allowInteraction, const Done &done)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.PolicyKit1"), QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
        QStringLiteral("org.freedesktop.PolicyKit1.Authority"), QStringLiteral("CheckAuthorization"));
    const PolkitSubject polkitSubject{QStringLiteral("system-bus-name"),
                                      {{QStringLiteral("name"), subject.busName}}};
    PolkitDetails details;
    if (!message.isEmpty())
        details.insert(QStringLiteral("polkit.message"), message);
    call << QVariant::fromValue(polkitSubject) << actionId << QVariant::fromValue(details)
         << quint32(allowInteraction ? kAllowUserInteraction : 0) << QString();
    qCDebug(lcPolkitAuthorizationBackend)
        << "Asking polkit about" << actionId << "for" << subject.busName << "interactive" << allowInteraction;

    auto *watcher = new QDBusPendingCallWatcher(
        m_connection.asyncCall(call, allowInteraction ? kInteractiveTimeoutMs : kQuietTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [done](QDBusPendingCallWatcher *finished) {
        finished->deleteLater();
        const QDBusMessage reply = finished->reply();
        if (reply.type() != QDBusMessage::ReplyMessage) {
            qCWarning(lcPolkitAuthorizationBackend)
                << "polkit refused the check:" << reply.errorName() << reply.errorMessage();
            done(statusForError(reply.errorName()));
            return;
        }
        if (reply.arguments().size() != 1 || reply.signature() != QLatin1String("(bba{ss})")) {
            qCWarning(lcPolkitAuthorizationBackend)
                << "Unexpected polkit answer of signature" << reply.signature();
            done(errAuthorizationInternal);
            return;
        }
        const auto result = reply.arguments().constFirst().value<QDBusArgument>();
        bool authorized = false;
        bool challenge = false;
        PolkitDetails resultDetails;
        result.beginStructure();
        result >> authorized >> challenge >> resultDetails;
        result.endStructure();
        done(statusForResult(authorized, challenge, resultDetails));
    });
}
