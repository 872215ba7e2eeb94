// A one-shot authorization client for tests that need a second process,
// usually running as another user. Prints one line with the results.
#include "NVCAuthorityVerifier.h"
#include "NVCAuthorization.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    QTextStream out(stdout);
    if (args.isEmpty())
        return 2;
    const QString command = args.at(0);
    const QByteArray token = args.size() > 1 ? QByteArray::fromHex(args.at(1).toLatin1()) : QByteArray();
    NVCAuthorization authorization;
    if (command == QLatin1String("create")) {
        AuthorizationRef reference;
        const quint32 flags =
            args.contains(QStringLiteral("quiet")) ? kAuthorizationFlagExtendRights : authorization.flags();
        const OSStatus status =
            authorization.create(&reference, QStringLiteral("Probe wants to test"), flags);
        out << status << ' ' << (reference ? reference->token().toHex() : QByteArray("-")) << '\n';
    } else if (command == QLatin1String("valid")) {
        out << (authorization.isValid(authorization.authorizationWithData(token, nullptr)) ? 1 : 0) << '\n';
    } else if (command == QLatin1String("destroy")) {
        AuthorizationRef reference = authorization.authorizationWithData(token, nullptr);
        out << authorization.free(&reference, kAuthorizationFlagDestroyRights) << '\n';
    } else if (command == QLatin1String("verify")) {
        const NVCAuthorityVerifier::Result result = NVCAuthorityVerifier().verify(token);
        out << result.status << ' ' << result.uid << '\n';
    } else {
        return 2;
    }
    return 0;
}
