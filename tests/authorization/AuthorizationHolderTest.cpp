#include "NVCAuthorizationHolder.h"
#include "NVCAuthorizationHolderErrors.h"
#include "NVCAuthorizationRefHolder.h"
#include "NVCLocalAuthenticationContextHolder.h"

#include <gtest/gtest.h>

namespace {

// An authority that cannot be reached: every question to it fails.
std::shared_ptr<NVCAuthorization> unreachableAuthority()
{
    return std::make_shared<NVCAuthorization>(QDBusConnection(QStringLiteral("not-connected")));
}

struct CheckResult
{
    bool called = false;
    bool ok = false;
    std::optional<NVCAuthError> error;
};

CheckResult check(NVCAuthorizationHolder &holder)
{
    CheckResult result;
    holder.checkWithReply([&](bool ok, const std::optional<NVCAuthError> &error) {
        result = {true, ok, error};
    });
    return result;
}

const QByteArray kToken =
    QByteArray::fromHex("00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff");

// Without a reference nothing reaches the authority; an unconfirmed one fails there.
TEST(AuthorizationRefHolder, MissingOrUnconfirmedReferenceFailsTheCheckAndTheUpdate)
{
    auto utility = unreachableAuthority();
    const std::tuple<AuthorizationRef, int, int> cases[] = {
        {nullptr, 101, 101},
        {utility->authorizationWithData(kToken, nullptr), 102, 103},
    };
    for (const auto &[reference, checkCode, updateCode] : cases) {
        auto holder = NVCAuthorizationHolder::withAuthorization(reference, utility);
        const CheckResult result = check(*holder);
        ASSERT_TRUE(result.called);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.error->code, checkCode);
        std::optional<NVCAuthError> error;
        EXPECT_FALSE(holder->updateWithLocalizedReason(QStringLiteral("why"), &error));
        EXPECT_EQ(error->code, updateCode);
    }
    EXPECT_TRUE(NVCAuthorizationHolder::withAuthorization(nullptr, utility)
                    ->archive()
                    .value(QStringLiteral("AuthorizationRefHolder"))
                    .toMap()
                    .isEmpty());
}

TEST(AuthorizationHolderCoding, ReferenceHolderRoundTrip)
{
    auto utility = unreachableAuthority();
    auto holder = NVCAuthorizationHolder::withAuthorization(utility->authorizationWithData(kToken, nullptr),
                                                            utility, true);
    const QVariantMap archive = holder->archive();
    ASSERT_EQ(archive.keys(), QStringList{QStringLiteral("AuthorizationRefHolder")});
    const QVariantMap inner = archive.first().toMap();
    EXPECT_EQ(inner.value(QStringLiteral("AuthorizationRef")).toByteArray(), kToken);
    EXPECT_EQ(inner.value(QStringLiteral("WeakReferenceMode")), QVariant(true));
    EXPECT_EQ(externalFormFromHolderArchive(archive), kToken);

    QVariantMap withReason = archive;
    QVariantMap innerWithReason = inner;
    innerWithReason.insert(QStringLiteral("LocalizedReason"), QStringLiteral("Change settings"));
    withReason.insert(QStringLiteral("AuthorizationRefHolder"), innerWithReason);
    const auto decoded = NVCAuthorizationHolder::fromArchive(withReason, utility);
    ASSERT_TRUE(decoded);
    ASSERT_TRUE(decoded->hasAuthorizationReference());
    const auto refHolder = std::dynamic_pointer_cast<NVCAuthorizationRefHolder>(decoded->currentHolder());
    EXPECT_EQ(refHolder->reference()->token(), kToken);
    EXPECT_TRUE(refHolder->weakReferenceMode());
    EXPECT_EQ(refHolder->localizedReason(), QStringLiteral("Change settings"));
}

TEST(AuthorizationHolderCoding, OtherHoldersRoundTrip)
{
    const auto empty = NVCAuthorizationHolder::fromArchive(
        NVCAuthorizationHolder::withEmptyAuthorization()->archive(), unreachableAuthority());
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->hasEmptyAuthorization());

    auto context = std::make_shared<NVCLocalAuthenticationContext>();
    const QVariantMap archive =
        NVCAuthorizationHolder::withLocalAuthenticationContext(context, QStringLiteral("unlock"))->archive();
    EXPECT_EQ(archive.keys(), QStringList{QStringLiteral("localAuthenticationContextHolder")});
    const auto local = NVCAuthorizationHolder::fromArchive(archive, unreachableAuthority());
    ASSERT_TRUE(local);
    ASSERT_TRUE(local->hasLocalAuthenticationContext());
    // The decoded holder keeps its own context alive.
    EXPECT_EQ(check(*local).error->code, -6);
}

TEST(AuthorizationHolderCoding, MalformedArchivesAreRejected)
{
    const QString ref = QStringLiteral("AuthorizationRefHolder");
    const QString key = QStringLiteral("AuthorizationRef");
    const QVariantMap cases[] = {
        {},
        {{ref, QVariantMap{{key, QStringLiteral("not data")}}}},
        {{ref, QVariantMap{{key, kToken.left(31)}}}},
        {{ref, QVariantMap{}}},
        {{ref, QStringLiteral("not a dictionary")}},
        {{QStringLiteral("SomethingElse"), QVariantMap{{key, kToken}}}},
        {{ref, QVariantMap{{key, kToken}}}, {QStringLiteral("EmptyAuthorization"), QVariantMap{}}},
        {{QStringLiteral("EmptyAuthorization"), QVariantMap{{QStringLiteral("EmptyAuthorization"), 1}}}},
        {{QStringLiteral("localAuthenticationContextHolder"),
          QVariantMap{{QStringLiteral("LocalAuthenticationContext"), QStringLiteral("ctx")}}}},
    };
    for (const QVariantMap &archive : cases) {
        QString error;
        EXPECT_FALSE(NVCAuthorizationHolder::fromArchive(archive, unreachableAuthority(), &error))
            << archive.size();
        EXPECT_FALSE(error.isEmpty());
    }
    EXPECT_TRUE(externalFormFromHolderArchive({{ref, QVariantMap{{key, QStringLiteral("x")}}}}).isEmpty());
}

TEST(EmptyAuthorizationHolder, AlwaysFailsTheCheckOnPurpose)
{
    auto holder = NVCAuthorizationHolder::withEmptyAuthorization();
    const CheckResult result = check(*holder);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, makeHolderError(NVCAuthorizationHolderError::EmptyAuthorization));
    std::optional<NVCAuthError> error = makeHolderError(NVCAuthorizationHolderError::ReasonMissing);
    EXPECT_TRUE(holder->updateWithLocalizedReason(QString(), &error));
    EXPECT_FALSE(error);
}

TEST(LocalAuthenticationContextHolder, ReportsContextErrors)
{
    auto context = std::make_shared<NVCLocalAuthenticationContext>();
    auto holder = NVCAuthorizationHolder::withLocalAuthenticationContext(context, QString());
    EXPECT_EQ(check(*holder).error->code, 104);

    std::optional<NVCAuthError> error;
    EXPECT_FALSE(holder->updateWithLocalizedReason(QString(), &error));
    EXPECT_EQ(error->code, 104);
    EXPECT_TRUE(holder->updateWithLocalizedReason(QStringLiteral("unlock"), &error));

    // Nothing to evaluate with on this platform.
    const CheckResult evaluated = check(*holder);
    EXPECT_FALSE(evaluated.ok);
    EXPECT_EQ(evaluated.error->code, -6);
    EXPECT_FALSE(NVCLocalAuthenticationContext::performTouchIDAuthentication());

    context.reset();
    EXPECT_EQ(check(*holder).error, makeHolderError(NVCAuthorizationHolderError::ContextMissing));
}

TEST(NVCAuthorization, ExternalFormRequiresExactly32Bytes)
{
    auto utility = unreachableAuthority();
    for (const QByteArray &data : QByteArrayList{QByteArray(), kToken.left(31), QByteArray(kToken + '\0')}) {
        std::optional<NVCAuthError> error;
        EXPECT_FALSE(utility->authorizationWithData(data, &error));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->domain, QLatin1String(kNVCOSStatusErrorDomain));
        EXPECT_EQ(error->code, errAuthorizationInvalidRef);
    }
    std::optional<NVCAuthError> error;
    EXPECT_TRUE(utility->dataWithAuthorization(nullptr, &error).isEmpty());
    EXPECT_EQ(error->code, errAuthorizationInvalidRef);

    bool called = false;
    utility->makeExternalAuthorization(
        utility->authorizationWithData(kToken, nullptr),
        [&](const AuthorizationRef &, const QByteArray &data, OSStatus status) {
            called = true;
            EXPECT_EQ(data, kToken);
            EXPECT_EQ(status, errAuthorizationSuccess);
        });
    EXPECT_TRUE(called);
}

} // namespace
