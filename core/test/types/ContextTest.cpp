#include "qel/core/types/Context.h"

#include <gtest/gtest.h>

#include <latch>
#include <set>
#include <thread>
#include <unordered_set>
#include <vector>

#include "qel/core/store/Collation.h"
#include "qel/core/types/RIndirectString.h"
#include "qel/core/utility/StringHash.h"

namespace qel::core {
namespace {

constexpr int kThreads = 8;
constexpr int kKeys = 16;  // precisions 0 to 15 are 16 distinct cache keys

struct Answers {
    std::vector<Type const*> types;
    std::vector<unsigned long> ids;
};

// Long texts live outside the string object; they must intern alike.
TStringCore SharedText(int k) {
    return u"a text that every thread interns, number " + TStringCore::number(k);
}

// What every thread asks for at step k. Scales 40 to 44 serve no other test,
// so each first request is a miss that the threads race on.
void AskShared(int k, Answers& out) {
    auto const p = static_cast<signed char>(k);
    RealType const* f = RealType::Get32(p, 40);
    RealType const* r = RealType::Get64(p, 41);
    out.types.insert(out.types.end(),
                     {f, r, ArrayType::Get(f), SetType::Get(r), KeySetType::Get(f, r),
                      ArrayType::Get(ArrayType::Get(RealType::Get32(p, 42))),
                      StringType::Get(Collation(RInternString(TStringCore::number(k) + u"-race"))),
                      KeySetType::Get(f, r)->GetBaseType()});
    out.ids.push_back(Context::Instance().InternString(SharedText(k)));
}

// What only thread t asks for, while the others race on shared keys.
void AskOwn(int t, Answers& out) {
    auto const p = static_cast<signed char>(t);
    out.types.insert(out.types.end(),
                     {RealType::Get32(p, 43), ArrayType::Get(RealType::Get64(p, 44))});
    out.ids.push_back(Context::Instance().InternString(u"own " + TStringCore::number(t)));
}

TEST(ContextTest, ConcurrentLookupsAgreeOnOnePointerAndIdEach) {
    std::vector<Answers> shared(kThreads), own(kThreads);
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (int k = 0; k < kKeys; ++k) {
                AskShared(k, shared[t]);
                if (k == t)
                    AskOwn(t, own[t]);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();

    std::set<Type const*> types(shared[0].types.begin(), shared[0].types.end());
    std::set<unsigned long> ids(shared[0].ids.begin(), shared[0].ids.end());
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(shared[t].types, shared[0].types) << "thread " << t;
        EXPECT_EQ(shared[t].ids, shared[0].ids) << "thread " << t;
        types.insert(own[t].types.begin(), own[t].types.end());
        ids.insert(own[t].ids.begin(), own[t].ids.end());
        EXPECT_EQ(Context::Instance().GetInternedString(own[t].ids[0]),
                  u"own " + TStringCore::number(t));
    }
    // Seven distinct types per key, and one base type that all keys share.
    EXPECT_EQ(types.size(), std::size_t(kKeys * 7 + 1 + kThreads * 2));
    EXPECT_EQ(ids.size(), std::size_t(kKeys + kThreads));
    EXPECT_EQ(shared[0].types[9 * 8 + 4]->ToString(), u"K<f<9,40>,r<9,41>>");
    EXPECT_EQ(shared[0].types[9 * 8 + 6]->ToString(), u"s<9-race>");
    EXPECT_EQ(shared[0].types[9 * 8 + 7], KeySetType::Get(RealType::Get32(), RealType::Get64()));
    EXPECT_EQ(own[5].types[1]->ToString(), u"A<r<5,44>>");
    for (int k = 0; k < kKeys; ++k) {
        EXPECT_EQ(Context::Instance().GetInternedString(shared[0].ids[k]), SharedText(k));
    }
}

TEST(RInternStringTest, HandlesOfEqualTextsAreEqualWhateverTheConstructor) {
    RInternString const empty;
    EXPECT_EQ(RInternString(u""), empty);
    EXPECT_EQ(RInternString(TStringCore()), empty);
    EXPECT_EQ(RInternString(RIndirectString()), empty);
    EXPECT_NE(RInternString(u'\0'), empty);  // one unit, even a zero one

    TStringCore const text(u"interned");
    RInternString const a(text);
    EXPECT_EQ(RInternString(TStringCore(text)), a);
    EXPECT_EQ(RInternString(RIndirectString(text)), a);
    EXPECT_EQ(RInternString(u'x'), RInternString(u"x"));
    EXPECT_TRUE(RInternString(u"Interned") != a);  // case matters
    EXPECT_FALSE(RInternString(u"interned ") == a);
    EXPECT_EQ(&RInternString(u"interned").GetValue(), &a.GetValue());  // one interned copy

    RInternString const byId(a.GetStringId());
    EXPECT_EQ(byId, a);
    EXPECT_EQ(static_cast<TStringCore const&>(byId), text);
    EXPECT_EQ(std::hash<RInternString>()(a), a.GetStringId());
    EXPECT_EQ((std::unordered_set<RInternString>{a, byId, empty}.size()), 2u);
    // An indirect string hashes and compares as its text.
    EXPECT_EQ(std::hash<RIndirectString>()(RIndirectString(text)), HashString(text));
    EXPECT_NE(RIndirectString(text), RIndirectString(u"Interned"));
}

}  // namespace
}  // namespace qel::core
