#include "TokenStore.h"

#include <algorithm>
#include <cerrno>
#include <sys/random.h>

TokenStore::TokenStore(std::chrono::seconds lifetime, Clock clock, RandomSource random)
    : m_lifetime(lifetime)
    , m_clock(std::move(clock))
    , m_random(std::move(random))
{}

bool TokenStore::systemRandom(char *buffer, std::size_t length)
{
    std::size_t done = 0;
    while (done < length) {
        const ssize_t got = getrandom(buffer + done, length - done, 0);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        done += static_cast<std::size_t>(got);
    }
    return true;
}

bool TokenStore::constantTimeEquals(const QByteArray &a, const QByteArray &b)
{
    if (a.size() != b.size())
        return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

std::optional<QByteArray> TokenStore::mint(uint uid)
{
    pruneExpired();
    QByteArray token(kAuthorizationExternalFormLength, Qt::Uninitialized);
    if (!m_random(token.data(), static_cast<std::size_t>(token.size())))
        return std::nullopt;
    if (std::count_if(m_entries.begin(), m_entries.end(), [uid](const Entry &e) { return e.uid == uid; }) >=
        static_cast<std::ptrdiff_t>(kMaxTokensPerUser))
        evictOldestOf(uid);
    const auto now = m_clock();
    m_entries.push_back({token, uid, now, now + m_lifetime});
    return token;
}

OSStatus TokenStore::lookup(const QByteArray &token, uint *uid)
{
    pruneExpired();
    const auto it = find(token);
    if (it == m_entries.end())
        return errAuthorizationInvalidRef;
    if (uid)
        *uid = it->uid;
    return errAuthorizationSuccess;
}

bool TokenStore::extend(const QByteArray &token)
{
    pruneExpired();
    const auto it = find(token);
    if (it == m_entries.end())
        return false;
    it->expiry = m_clock() + m_lifetime;
    return true;
}

bool TokenStore::revoke(const QByteArray &token)
{
    const auto it = find(token);
    if (it == m_entries.end())
        return false;
    m_entries.erase(it);
    return true;
}

std::vector<TokenStore::Entry>::iterator TokenStore::find(const QByteArray &token)
{
    if (token.size() != kAuthorizationExternalFormLength)
        return m_entries.end();
    // Every entry is compared, so the time taken does not tell which one matched.
    auto match = m_entries.end();
    for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
        if (constantTimeEquals(it->token, token))
            match = it;
    }
    return match;
}

void TokenStore::pruneExpired()
{
    const auto now = m_clock();
    std::erase_if(m_entries, [now](const Entry &e) { return e.expiry <= now; });
}

void TokenStore::evictOldestOf(uint uid)
{
    auto oldest = m_entries.end();
    for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
        if (it->uid == uid && (oldest == m_entries.end() || it->created < oldest->created))
            oldest = it;
    }
    if (oldest != m_entries.end())
        m_entries.erase(oldest);
}
