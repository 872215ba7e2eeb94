#pragma once

#include "NVCPolicyQuery.h"

#include <QString>
#include <QVariantMap>
#include <optional>

// A user's answer to a policy query: allow or deny, for how long, for which
// scope. Compared by identity only; it has no value equality.
class NVCUserPolicyResponse
{
public:
    qint32 duration = 0;
    qint32 decision = 0;
    qint32 code = 0;
    quint32 pathType = 0;
    quint32 process = 0;
    quint32 constraintType = 0;
    qint32 operations = 0;
    quint32 pid = 0;
    QString path;
    QString userData;
    std::optional<NVCPolicyQuery> query;

    QString description() const;

    // The bus form: a{sv} keyed by the coding keys, the query nested as its own a{sv}.
    QVariantMap archive() const;
    // None with *error set when a value, or the nested query, is malformed.
    static std::optional<NVCUserPolicyResponse> unarchive(const QVariantMap &archive, QString *error);
};
