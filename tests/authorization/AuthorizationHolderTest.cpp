#include "NVCAuthorizationActor.h"
#include "NVCAuthorizationHolder.h"
#include "NVCAuthorizationHolderErrors.h"
#include "NVCAuthorizationRefHolder.h"
#include "NVCLocalAuthenticationContextHolder.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

// An authority that cannot be reached: every question to it fails.
std::shared_ptr<NVCAuthorization> unreachableAuthority()
{
    return std::make_shared<NVCAuthorization>(QDBusConnection(QStringLiteral("not-connected")));
}

struct CheckResult
{
    bool ok = false;
    std::optional<NVCAuthError> error;
};

CheckResult check(NVCAuthorizationHolder &holder)
{
    CheckResult result;
    holder.checkWithReply([&](bool ok, const std::optional<NVCAuthError> &error) { result = {ok, error}; });
    return result;
}

const QByteArray kToken =
    QByteArray::fromHex("00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff");

// Without a reference nothing reaches the authority; an unconfirmed one fails there.
TEST(AuthorizationRefHolder, MissingOrUnconfirmedReferenceFailsTheCheckAndTheUpdate)
{
    auto utility = unreachableAuthority();
    for (const auto &[reference, checkCode, updateCode] :
         {std::tuple{AuthorizationRef(), 101, 101},
          std::tuple{utility->authorizationWithData(kToken, nullptr), 102, 103}}) {
        auto holder = NVCAuthorizationHolder::withAuthorization(reference, utility);
        EXPECT_EQ(check(*holder).error->code, checkCode);
        std::optional<NVCAuthError> error;
        EXPECT_FALSE(holder->updateWithLocalizedReason(QStringLiteral("why"), &error));
        EXPECT_EQ(error->code, updateCode);
    }
}

TEST(AuthorizationHolderCoding, HoldersRoundTripAndMalformedArchivesAreRejected)
{
    auto utility = unreachableAuthority();
    QVariantMap archive = NVCAuthorizationHolder::withAuthorization(
                              utility->authorizationWithData(kToken, nullptr), utility, true)
                              ->archive();
    EXPECT_EQ(externalFormFromHolderArchive(archive), kToken);
    QVariantMap inner = archive.first().toMap();
    inner.insert(QStringLiteral("LocalizedReason"), QStringLiteral("Change settings"));
    archive.insert(QStringLiteral("AuthorizationRefHolder"), inner);
    const auto decoded = NVCAuthorizationHolder::fromArchive(archive, utility);
    ASSERT_TRUE(decoded && decoded->hasAuthorizationReference());
    const auto refHolder = std::dynamic_pointer_cast<NVCAuthorizationRefHolder>(decoded->currentHolder());
    EXPECT_EQ(refHolder->reference()->token(), kToken);
    EXPECT_TRUE(refHolder->weakReferenceMode());
    EXPECT_EQ(refHolder->localizedReason(), QStringLiteral("Change settings"));

    const auto empty = NVCAuthorizationHolder::fromArchive(
        NVCAuthorizationHolder::withEmptyAuthorization()->archive(), utility);
    ASSERT_TRUE(empty && empty->hasEmptyAuthorization());
    const auto local = NVCAuthorizationHolder::fromArchive(
        NVCAuthorizationHolder::withLocalAuthenticationContext(
            std::make_shared<NVCLocalAuthenticationContext>(), QStringLiteral("unlock"))
            ->archive(),
        utility);
    ASSERT_TRUE(local && local->hasLocalAuthenticationContext());
    // The decoded holder keeps its own context alive.
    EXPECT_EQ(check(*local).error->code, -6);

    const QString ref = QStringLiteral("AuthorizationRefHolder");
    const QString key = QStringLiteral("AuthorizationRef");
    const QVariantMap malformed[] = {
        {},
        {{ref, QVariantMap{{key, QStringLiteral("not data")}}}},
        {{ref, QVariantMap{{key, kToken.left(31)}}}},
        {{ref, QStringLiteral("not a dictionary")}},
        {{QStringLiteral("SomethingElse"), QVariantMap{{key, kToken}}}},
        {{ref, QVariantMap{{key, kToken}}}, {QStringLiteral("EmptyAuthorization"), QVariantMap{}}},
    };
    for (const QVariantMap &bad : malformed) {
        QString error;
        EXPECT_FALSE(NVCAuthorizationHolder::fromArchive(bad, utility, &error)) << bad.size();
        EXPECT_FALSE(error.isEmpty());
    }
}

// The empty holder fails every check on purpose; a local context reports what it lacks.
TEST(HoldersWithoutAReference, FailTheCheckAsTheirKindSays)
{
    auto empty = NVCAuthorizationHolder::withEmptyAuthorization();
    const CheckResult result = check(*empty);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, makeHolderError(NVCAuthorizationHolderError::EmptyAuthorization));
    std::optional<NVCAuthError> error = makeHolderError(NVCAuthorizationHolderError::ReasonMissing);
    EXPECT_TRUE(empty->updateWithLocalizedReason(QString(), &error));
    EXPECT_FALSE(error);

    auto context = std::make_shared<NVCLocalAuthenticationContext>();
    auto holder = NVCAuthorizationHolder::withLocalAuthenticationContext(context, QString());
    EXPECT_EQ(check(*holder).error->code, 104);
    EXPECT_TRUE(holder->updateWithLocalizedReason(QStringLiteral("unlock"), nullptr));
    // Nothing to evaluate with on this platform.
    EXPECT_EQ(check(*holder).error->code, -6);

    context.reset();
    EXPECT_EQ(check(*holder).error, makeHolderError(NVCAuthorizationHolderError::ContextMissing));
}

struct Asked
{
    bool replied = false;
    std::shared_ptr<NVCAuthorizationHolder> holder;
    std::optional<NVCAuthError> error;
};

Asked ask(NVCAuthorizationActor &actor)
{
    auto asked = std::make_shared<Asked>();
    actor.askPermissionsWithReply([asked](const auto &holder, const std::optional<NVCAuthError> &error) {
        *asked = {true, holder, error};
    });
    waitUntil([asked] { return asked->replied; });
    return *asked;
}

TEST(AuthorizationActor, GrantedHolderLapsesAfterTheRevocationInterval)
{
    NVCAuthorizationActor actor(NVCAuthorizationActor::EmptyAuthorization, QStringLiteral("reason"),
                                unreachableAuthority(), 100ms);
    std::vector<int> states;
    auto subscriber = actor.subscribeToAuthorizationState([&](int state) { states.push_back(state); });
    int cancelledHeard = 0;
    actor.subscribeToAuthorizationState([&](int) { ++cancelledHeard; })->cancel();

    const Asked asked = ask(actor);
    ASSERT_TRUE(asked.holder);
    EXPECT_TRUE(asked.holder->hasEmptyAuthorization());
    // The holder is installed before the reply runs.
    EXPECT_EQ(actor.authorizationHolder(), asked.holder);
    ASSERT_TRUE(waitUntil([&] { return actor.authorizationState() == NVCAuthorizationActor::None; }, 2000));
    EXPECT_EQ(states, (std::vector<int>{0, 1, 0}));

    // The timer fires once per grant: a second grant lapses once too.
    ASSERT_TRUE(ask(actor).holder);
    ASSERT_TRUE(waitUntil([&] { return actor.authorizationState() == NVCAuthorizationActor::None; }, 2000));
    EXPECT_EQ(states, (std::vector<int>{0, 1, 0, 1, 0}));
    EXPECT_EQ(cancelledHeard, 1);
}

TEST(AuthorizationActor, FailedAdministratorRequestIsAnErrorAndStartsNoTimer)
{
    NVCAuthorizationActor actor(NVCAuthorizationActor::AdministratorAuthorization, QStringLiteral("reason"),
                                unreachableAuthority(), 50ms);
    const Asked asked = ask(actor);
    EXPECT_FALSE(asked.holder);
    ASSERT_TRUE(asked.error);
    EXPECT_EQ(asked.error->code, errAuthorizationInternal);
    EXPECT_EQ(actor.authorizationState(), NVCAuthorizationActor::None);
}

} // namespace
