#include "NVCBlockSubscriber.h"

#include <gtest/gtest.h>

namespace {

using Storage = NVCBlockSubscriberStorage<int>;
using Subscriber = NVCBlockSubscriber<int>;

TEST(NVCBlockSubscriber, NotifiesInOrderAndCancelsByToken)
{
    const auto storage = Storage::create();
    EXPECT_TRUE(storage->isEmpty());
    std::vector<std::string> calls;
    int first = 0, second = 0, silent = 0;
    auto a = std::make_shared<Subscriber>(&first, [&](int v) { calls.push_back("a" + std::to_string(v)); });
    auto b = std::make_shared<Subscriber>(&second, [&](int v) { calls.push_back("b" + std::to_string(v)); });
    storage->addSubscriber(a);
    storage->addSubscriber(b);
    storage->addSubscriber(std::make_shared<Subscriber>(&silent, Subscriber::Block()));

    storage->enumerateSubscribers([](const Subscriber &s) { s.block()(1); });
    EXPECT_EQ(calls, (std::vector<std::string>{"a1", "b1"})) << "subscribers without a callback are skipped";
    storage->enumerateSubscribers({});

    a->cancel();
    storage->cancelByToken(nullptr);
    storage->enumerateSubscribers([](const Subscriber &s) { s.block()(2); });
    EXPECT_EQ(calls.back(), "b2");
    EXPECT_EQ(calls.size(), 3u);

    storage->cancelByToken(&silent);
    b->cancel();
    EXPECT_TRUE(storage->isEmpty());
}

TEST(NVCBlockSubscriber, ASubscriberMayCancelItselfWhileNotifiedAndOutliveItsStorage)
{
    auto storage = Storage::create();
    int token = 0;
    std::shared_ptr<Subscriber> self;
    int calls = 0;
    self = std::make_shared<Subscriber>(&token, [&](int) {
        ++calls;
        self->cancel();
    });
    storage->addSubscriber(self);
    storage->enumerateSubscribers([](const Subscriber &s) { s.block()(0); });
    storage->enumerateSubscribers([](const Subscriber &s) { s.block()(0); });
    EXPECT_EQ(calls, 1);

    storage->addSubscriber(self);
    storage.reset();
    self->cancel();
}

} // namespace
