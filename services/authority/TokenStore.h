#pragma once

#include "AuthorizationStatus.h"

#include <QByteArray>
#include <chrono>
#include <functional>
#include <optional>
#include <vector>

// The live authorizations: 32 random bytes each, bound to the user they were
// granted to and to an expiry. Tokens are secrets: they are compared in
// constant time and never logged.
class TokenStore
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    // Fills the buffer with cryptographically random bytes; false on failure.
    using RandomSource = std::function<bool(char *, std::size_t)>;

    // Bounds what one user can make the authority hold.
    static constexpr std::size_t kMaxTokensPerUser = 64;

    explicit TokenStore(std::chrono::seconds lifetime, Clock clock = std::chrono::steady_clock::now,
                        RandomSource random = systemRandom);

    // Null when no randomness could be had.
    std::optional<QByteArray> mint(uint uid);
    // errAuthorizationSuccess and the owner's uid for a live token; otherwise
    // errAuthorizationInvalidRef (malformed, unknown, expired or revoked).
    OSStatus lookup(const QByteArray &token, uint *uid);
    // Restarts a live token's lifetime.
    bool extend(const QByteArray &token);
    bool revoke(const QByteArray &token);
    std::size_t size() const { return m_entries.size(); }

    static bool constantTimeEquals(const QByteArray &a, const QByteArray &b);
    static bool systemRandom(char *buffer, std::size_t length);

private:
    struct Entry
    {
        QByteArray token;
        uint uid;
        std::chrono::steady_clock::time_point created;
        std::chrono::steady_clock::time_point expiry;
    };

    std::vector<Entry>::iterator find(const QByteArray &token);
    void pruneExpired();
    void evictOldestOf(uint uid);

    std::chrono::seconds m_lifetime;
    Clock m_clock;
    RandomSource m_random;
    std::vector<Entry> m_entries;
};
