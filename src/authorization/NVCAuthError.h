#pragma once

#include <QString>

// An error as the product's interfaces report it: a domain, a code within
// that domain and a user-readable description.
struct NVCAuthError
{
    QString domain;
    qint64 code = 0;
    QString localizedDescription;

    bool operator==(const NVCAuthError &) const = default;
};

// Domain of errors that carry a plain authorization status as their code.
inline constexpr char kNVCOSStatusErrorDomain[] = "NSOSStatusErrorDomain";

inline NVCAuthError osStatusError(qint32 status)
{
    return {QString::fromLatin1(kNVCOSStatusErrorDomain), status,
            QStringLiteral("The operation couldn't be completed. (OSStatus error %1.)").arg(status)};
}
