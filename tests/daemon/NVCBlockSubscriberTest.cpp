#include "NVCBlockSubscriber.h"

#include <gtest/gtest.h>

namespace {

using Storage = NVCBlockSubscriberStorage<int>;
using Subscriber = NVCBlockSubscriber<int>;

TEST(NVCBlockSubscriber, NotifiesInOrderCancelsByTokenAndLetsASubscriberCancelItselfWhileNotified)
{
    auto storage = Storage::create();
    std::vector<std::string> calls;
    int first = 0, second = 0, silent = 0;
    std::shared_ptr<Subscriber> a;
    a = std::make_shared<Subscriber>(&first, [&](int v) {
        calls.push_back("a" + std::to_string(v));
        a->cancel();
    });
    auto b = std::make_shared<Subscriber>(&second, [&](int v) { calls.push_back("b" + std::to_string(v)); });
    storage->addSubscriber(a);
    storage->addSubscriber(b);
    storage->addSubscriber(std::make_shared<Subscriber>(&silent, Subscriber::Block()));
    const auto notify = [&](int v) {
        storage->enumerateSubscribers([v](const Subscriber &s) { s.block()(v); });
    };

    notify(1);
    EXPECT_EQ(calls, (std::vector<std::string>{"a1", "b1"})) << "subscribers without a callback are skipped";
    storage->cancelByToken(nullptr);
    notify(2);
    EXPECT_EQ(calls, (std::vector<std::string>{"a1", "b1", "b2"}));
    storage->cancelByToken(&silent);
    b->cancel();
    EXPECT_TRUE(storage->isEmpty());

    storage->addSubscriber(b);
    storage.reset();
    b->cancel();
}

} // namespace
