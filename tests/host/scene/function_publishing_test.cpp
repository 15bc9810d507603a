#include "host/scene/function_publishing.h"

#include <gmock/gmock.h>

#include "host/scene/object.h"

namespace {

class Counter final : public FPInterface {
public:
    int count = 0;
    InterfaceId Id() const override { return {1, 2}; }
    const char* Name() const override { return "counter"; }
    FPKind Kind() const override { return FPKind::kMixin; }
    std::span<const FPFunction> Functions() const override {
        static const std::vector<FPFunction> table{
            {3,
             "add",
             FPType::kInt,
             {{"n", FPType::kInt}},
             {{"before", FPType::kInt}},
             [](FPInterface& self, FPArguments a) -> FPValues {
                 int& count = static_cast<Counter&>(self).count;
                 int before = std::exchange(count, count + std::get<int32_t>(a[0]));
                 return {int32_t(count), int32_t(before)};
             }},
            {9,
             "half",
             FPType::kFloat,
             {{"x", FPType::kFloat}},
             {},
             [](FPInterface&, FPArguments a) -> FPValues { return {std::get<float>(a[0]) / 2}; }},
            {10,
             "wide",
             FPType::kBool,
             {{"n", FPType::kInt64}, {"on", FPType::kBool}},
             {},
             [](FPInterface&, FPArguments a) -> FPValues { return {std::get<bool>(a[1])}; }},
        };
        return table;
    }
};

class Publishing : public DummyObject, public IPublisher {
public:
    Counter counter;
    FPInterface* GetInterface(InterfaceId id) override {
        return id == counter.Id() ? &counter : nullptr;
    }
};

TEST(FunctionPublishing, FunctionsAreCalledByNumberAndName) {
    Counter counter;
    FPResult first = counter.Call(3, {int32_t{5}});
    EXPECT_EQ(first.status, FPStatus::kDone);
    EXPECT_EQ(first.values, (FPValues{int32_t{5}, int32_t{0}}));
    EXPECT_EQ(counter.Call("add", {int32_t{2}}).values, (FPValues{int32_t{7}, int32_t{5}}));
}

TEST(FunctionPublishing, UnknownFunctionsDoNothing) {
    Counter counter;
    EXPECT_EQ(counter.Call(4, {}).status, FPStatus::kUnknownFunction);
    EXPECT_EQ(counter.Call("Add", {int32_t{1}}).status, FPStatus::kUnknownFunction);
    EXPECT_EQ(counter.count, 0);
}

TEST(FunctionPublishing, WholeNumbersBecomeWhatIsWanted) {
    Counter counter;
    EXPECT_EQ(counter.Call("half", {int32_t{3}}).values, (FPValues{1.5f}));
    EXPECT_EQ(counter.Call("wide", {int32_t{3}, int32_t{2}}).values, (FPValues{true}));
}

TEST(FunctionPublishing, BadArgumentsAreNamed) {
    Counter counter;
    for (FPValues bad : {FPValues{}, FPValues{int32_t{1}, int32_t{2}}, FPValues{1.5f},
                         FPValues{std::string("1")}, FPValues{std::monostate{}}}) {
        FPResult result = counter.Call("add", bad);
        EXPECT_EQ(result.status, FPStatus::kBadArguments);
        EXPECT_EQ(result.error, "expected add(int n)");
    }
    EXPECT_EQ(counter.count, 0);
}

TEST(FunctionPublishing, MixinsAreFoundThroughTheirObject) {
    Publishing publishing;
    DummyObject plain;
    EXPECT_EQ(InterfaceOf(publishing, {1, 2}), &publishing.counter);
    EXPECT_EQ(InterfaceOf(publishing, {2, 1}), nullptr);
    EXPECT_EQ(InterfaceOf(plain, {1, 2}), nullptr);
}

TEST(FunctionPublishing, StaticInterfacesHaveOneNumberEach) {
    StaticInterfaces list;
    Counter first, second;
    EXPECT_TRUE(list.Add(first));
    EXPECT_FALSE(list.Add(second));
    EXPECT_EQ(list.Find(InterfaceId{1, 2}), &first);
    EXPECT_EQ(list.Find("counter"), &first);
    list.Remove(second);  // never added
    EXPECT_EQ(list.Find("counter"), &first);
    list.Remove(first);
    EXPECT_EQ(list.Find("counter"), nullptr);
}

}  // namespace
