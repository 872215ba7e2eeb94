#include "TokenStore.h"

#include "DevAuthorizationBackend.h"
#include "PolkitAuthorizationBackend.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

class TokenStoreTest : public ::testing::Test
{
protected:
    std::chrono::steady_clock::time_point now{};
    TokenStore store{60s, [this] { return now; }};
};

TEST_F(TokenStoreTest, TokensAreBoundToTheirUserAndLiveUntilExpiryOrRevocation)
{
    const QByteArray token = *store.mint(1000);
    uint uid = 0;
    EXPECT_EQ(store.lookup(token, &uid), errAuthorizationSuccess);
    EXPECT_EQ(uid, 1000u);
    now += 50s;
    EXPECT_TRUE(store.extend(token));
    now += 59s;
    EXPECT_EQ(store.lookup(token, nullptr), errAuthorizationSuccess);
    now += 1s;
    EXPECT_EQ(store.lookup(token, nullptr), errAuthorizationInvalidRef);
    EXPECT_FALSE(store.extend(token));
    EXPECT_EQ(store.size(), 0u);

    const QByteArray revoked = *store.mint(7);
    QByteArray flipped = revoked;
    flipped[31] = static_cast<char>(flipped[31] ^ 1);
    for (const QByteArray &bad : QByteArrayList{revoked.left(31), QByteArray(revoked + 'x'), flipped})
        EXPECT_EQ(store.lookup(bad, nullptr), errAuthorizationInvalidRef) << bad.toHex().constData();
    EXPECT_TRUE(store.revoke(revoked));
    EXPECT_EQ(store.lookup(revoked, nullptr), errAuthorizationInvalidRef);
    EXPECT_FALSE(store.revoke(revoked));
}

TEST_F(TokenStoreTest, OneUserCannotGrowTheStoreWithoutBound)
{
    const QByteArray other = *store.mint(2);
    const QByteArray first = *store.mint(1);
    for (std::size_t i = 0; i < TokenStore::kMaxTokensPerUser; ++i) {
        EXPECT_EQ(store.lookup(first, nullptr), errAuthorizationSuccess);
        now += 1ms;
        store.mint(1);
    }
    EXPECT_EQ(store.lookup(first, nullptr), errAuthorizationInvalidRef);
    EXPECT_EQ(store.lookup(other, nullptr), errAuthorizationSuccess);
    EXPECT_EQ(store.size(), TokenStore::kMaxTokensPerUser + 1);
}

TEST(TokenStore, NoTokenWithoutRandomness)
{
    TokenStore store(60s, std::chrono::steady_clock::now, [](char *, std::size_t) { return false; });
    EXPECT_FALSE(store.mint(1));
}

TEST(AuthorizationBackends, AnswerAsTheirPolicySays)
{
    DevAuthorizationBackend backend(errAuthorizationDenied);
    const auto answer = [&](uint uid, const char *action) {
        OSStatus status = errAuthorizationInternal;
        backend.check({QStringLiteral(":1.5"), uid}, QString::fromLatin1(action), QString(), false,
                      [&](OSStatus s) { status = s; });
        return status;
    };
    EXPECT_EQ(answer(::getuid(), kLocalSessionAction), errAuthorizationSuccess);
    EXPECT_EQ(answer(65534, kLocalSessionAction), errAuthorizationDenied);
    // The administrator action answers as the prompt would, for everyone.
    EXPECT_EQ(answer(0, kAdministratorAction), errAuthorizationDenied);

    const QMap<QString, QString> dismissed{{QStringLiteral("polkit.dismissed"), QStringLiteral("true")}};
    EXPECT_EQ(PolkitAuthorizationBackend::statusForResult(false, false, dismissed), errAuthorizationCanceled);
    EXPECT_EQ(PolkitAuthorizationBackend::statusForError(
                  QStringLiteral("org.freedesktop.PolicyKit1.Error.Cancelled")),
              errAuthorizationCanceled);
}

} // namespace
