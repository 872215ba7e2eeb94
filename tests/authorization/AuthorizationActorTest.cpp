#include "NVCAuthorizationActor.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

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

std::shared_ptr<NVCAuthorization> unreachableAuthority()
{
    return std::make_shared<NVCAuthorization>(QDBusConnection(QStringLiteral("not-connected")));
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
