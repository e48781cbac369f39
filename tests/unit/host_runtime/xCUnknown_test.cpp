#include "host/core/xCUnknown.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/object_count.h"

namespace {

class Part : public xIUnknown {
public:
    virtual int Answer() = 0;
};

class Whole : public xCUnknown, public Part, private support::Counted<Whole> {
public:
    using support::Counted<Whole>::Alive;

    zStatus QueryInterface(const char* name, void** out) override {
        return Concrete_QueryInterface(name, out);
    }
    std::uint32_t AddRef() override { return Concrete_AddRef(); }
    std::uint32_t Release() override { return Concrete_Release(); }
    zStatus Concrete_QueryInterface(const char* name, void** out) override {
        if (CompareInterfaceName(name, "Part")) return GetInterface(static_cast<Part*>(this), out);
        return xCUnknown::Concrete_QueryInterface(name, out);
    }
    int Answer() override { return 42; }
};

TEST(Component, StartsWithOneReferenceAndEndsWithTheLast) {
    auto* whole = new Whole;
    EXPECT_EQ(whole->AddRef(), 2U);
    EXPECT_EQ(whole->Release(), 1U);
    EXPECT_EQ(Whole::Alive(), 1);
    EXPECT_EQ(whole->Release(), 0U);
    EXPECT_EQ(Whole::Alive(), 0);
}

TEST(Component, InterfaceFoundByNameComesWithAReference) {
    auto* whole = new Whole;
    void* found = nullptr;
    ASSERT_EQ(whole->QueryInterface("Part", &found), kStatusOk);
    Part* part = static_cast<Part*>(found);
    EXPECT_EQ(part->Answer(), 42);
    EXPECT_EQ(part->Release(), 1U);
    whole->Release();
}

TEST(Component, QueryWithoutAResultAddsNoReference) {
    auto* whole = new Whole;
    EXPECT_EQ(whole->QueryInterface("Part", nullptr), kStatusOk);
    EXPECT_EQ(whole->QueryInterface("xIUnknown", nullptr), kStatusOk);
    EXPECT_EQ(whole->Release(), 0U);
}

TEST(Component, BaseAnswersOnlyTheBaseInterfaces) {
    auto* whole = new Whole;
    for (const char* name : {"xIUnknown", "xCUnknown"}) {
        void* found = nullptr;
        ASSERT_EQ(whole->QueryInterface(name, &found), kStatusOk) << name;
        EXPECT_EQ(static_cast<xCUnknown*>(found), static_cast<xCUnknown*>(whole));
        whole->Release();
    }
    for (const char* name : {"part", "Par", "Part ", "", static_cast<const char*>(nullptr)}) {
        void* found = whole;
        EXPECT_NE(whole->QueryInterface(name, &found), kStatusOk);
        EXPECT_EQ(found, nullptr);
        EXPECT_NE(whole->QueryInterface(name, nullptr), kStatusOk);
    }
    EXPECT_EQ(whole->Release(), 0U);
}

TEST(Component, NamesAreComparedExactlyAndNullEqualsNothing) {
    EXPECT_TRUE(xCUnknown::CompareInterfaceName("nxXISourceGUI", "nxXISourceGUI"));
    EXPECT_FALSE(xCUnknown::CompareInterfaceName("nxxisourcegui", "nxXISourceGUI"));
    EXPECT_FALSE(xCUnknown::CompareInterfaceName(nullptr, "nxXISourceGUI"));
    EXPECT_FALSE(xCUnknown::CompareInterfaceName("nxXISourceGUI", nullptr));
    EXPECT_FALSE(xCUnknown::CompareInterfaceName(nullptr, nullptr));
}

TEST(Component, DeleteSelfEndsTheObjectWhateverItsCount) {
    auto* whole = new Whole;
    whole->AddRef();
    xCUnknown::DeleteSelf(whole);
    EXPECT_EQ(Whole::Alive(), 0);
    xCUnknown::DeleteSelf(nullptr);
}

TEST(Component, ReferencesAreCountedOnAnyThread) {
    auto* whole = new Whole;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        whole->AddRef();
        threads.emplace_back([whole] {
            for (int round = 0; round < 1000; ++round) {
                whole->AddRef();
                whole->Release();
            }
            whole->Release();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(whole->Release(), 0U);
    EXPECT_EQ(Whole::Alive(), 0);
}

}  // namespace
