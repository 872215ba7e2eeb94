#pragma once

#include <QByteArray>
#include <memory>

// An authorization reference: the token the authority minted for it. Copies
// of the shared pointer are the same reference; the token itself is a secret
// and is never logged.
class NVCAuthorizationRef
{
public:
    explicit NVCAuthorizationRef(const QByteArray &token)
        : m_token(token)
    {}
    const QByteArray &token() const { return m_token; }

private:
    QByteArray m_token;
};

using AuthorizationRef = std::shared_ptr<NVCAuthorizationRef>;
