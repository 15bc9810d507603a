#include "host/base/signal.h"

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace {

// A signal whose listeners write down who heard what.
struct Heard {
    Signal<int> signal;
    std::string text;

    Connection Listen(char name) {
        return signal.Connect([this, name](int n) { text += name + std::to_string(n) + ' '; });
    }
};

}  // namespace

TEST(Signal, NobodyIsCalledWhereNobodyListens) {
    Heard heard;
    EXPECT_FALSE(heard.signal.HasListeners());
    heard.signal.Send(1);
    EXPECT_TRUE(heard.text.empty());
}

TEST(Signal, ListenersAreCalledInTheOrderInWhichTheyCame) {
    Heard heard;
    Connection b = heard.Listen('b'), a = heard.Listen('a');
    heard.signal.Send(1);
    heard.signal.Send(2);
    EXPECT_EQ(heard.text, "b1 a1 b2 a2 ");
}

TEST(Signal, AConnectionThatGoesHearsNoMore) {
    Heard heard;
    Connection a = heard.Listen('a');
    {
        Connection b = heard.Listen('b');
        heard.signal.Send(1);
    }
    heard.signal.Send(2);
    EXPECT_EQ(heard.text, "a1 b1 a2 ");
    EXPECT_TRUE(bool(a));
    a.Disconnect();
    EXPECT_FALSE(bool(a));
    EXPECT_FALSE(heard.signal.HasListeners());
    heard.signal.Send(3);
    EXPECT_EQ(heard.text, "a1 b1 a2 ");
}

TEST(Signal, AConnectionMayBeReplacedAndMoved) {
    Heard heard;
    Connection one = heard.Listen('a');
    Connection other = std::move(one);
    heard.signal.Send(1);
    other = heard.Listen('b');
    heard.signal.Send(2);
    EXPECT_EQ(heard.text, "a1 b2 ");
}

TEST(Signal, WhoLeavesDuringASendingIsNotCalledAnyMore) {
    Heard heard;
    Connection late;
    Connection first = heard.signal.Connect([&](int) { late.Disconnect(); });
    late = heard.Listen('l');
    heard.signal.Send(1);
    EXPECT_TRUE(heard.text.empty());
    EXPECT_TRUE(heard.signal.HasListeners());
}

TEST(Signal, WhoComesDuringASendingHearsTheNext) {
    Heard heard;
    std::optional<Connection> late;
    Connection first = heard.signal.Connect([&](int) {
        if (!late) late = heard.Listen('l');
    });
    heard.signal.Send(1);
    EXPECT_TRUE(heard.text.empty());
    heard.signal.Send(2);
    EXPECT_EQ(heard.text, "l2 ");
}

TEST(Signal, AListenerMayLeaveByItselfAndOthersStillHear) {
    Heard heard;
    Connection self;
    self = heard.signal.Connect([&](int n) {
        heard.text += 's' + std::to_string(n) + ' ';
        self.Disconnect();
    });
    Connection other = heard.Listen('o');
    heard.signal.Send(1);
    heard.signal.Send(2);
    EXPECT_EQ(heard.text, "s1 o1 o2 ");
}

TEST(Signal, AListenerThatLeftIsNotCalledByASendingOfItsOwn) {
    Heard heard;
    Connection self;
    self = heard.signal.Connect([&](int n) {
        heard.text += 's' + std::to_string(n) + ' ';
        self.Disconnect();
        heard.signal.Send(n + 1);
    });
    Connection other = heard.Listen('o');
    heard.signal.Send(1);
    EXPECT_EQ(heard.text, "s1 o2 o1 ");
}

TEST(Signal, WhatACallbackHoldsOutlivesItsCall) {
    Signal<> signal;
    Connection self;
    auto held = std::make_shared<int>(7);
    self = signal.Connect([&self, mine = held] {
        self.Disconnect();
        EXPECT_EQ(*mine, 7);
    });
    signal.Send();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Signal, AListenerMaySendAgain) {
    Heard heard;
    Connection first = heard.signal.Connect([&](int n) {
        if (n > 0) heard.signal.Send(n - 1);
    });
    Connection other = heard.Listen('o');
    heard.signal.Send(2);
    EXPECT_EQ(heard.text, "o0 o1 o2 ");
}

TEST(Signal, AConnectionMayOutliveItsSignal) {
    Connection left;
    {
        Signal<> signal;
        left = signal.Connect([] { FAIL() << "nobody sends"; });
    }
    EXPECT_TRUE(bool(left));
    left.Disconnect();
}

TEST(Signal, ReferencesAreHandedOn) {
    Signal<int&> ask;
    Connection one = ask.Connect([](int& n) { n += 1; });
    Connection two = ask.Connect([](int& n) { n *= 10; });
    int value = 4;
    ask.Send(value);
    EXPECT_EQ(value, 50);
}
