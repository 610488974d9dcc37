#include "containers/compare/Meaning.h"
#include "containers/compare/RecordComparison.h"
#include "containers/kernel/KernelRecords.h"
#include "containers/kp/ManifestRecords.h"
#include "tests/support/RandomRecord.h"

#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace {

using namespace kfab::compare;
using namespace lmx60;

template <class Use>
void forEachTable(const Table& table, std::set<const Table*>& met, const Use& use) {
    if (!met.insert(&table).second || &table == &KernelXML::Profile::table) return;
    for (const Field& field : table) {
        use(field);
        if (field.kind == FieldKind::Record) forEachTable(field.childTable(), met, use);
    }
}

TEST(CompareProperties, KnowsWhatEveryFieldMeans) {
    std::set<const Table*> met;
    for (const Table* table : {&KPContainer::Root::table, &KernelXML::Root::table})
        forEachTable(*table, met, [](const Field& field) {
            const Meaning* meaning = meaningOf(field);
            ASSERT_NE(meaning, nullptr) << field.name;
            const bool isThere = field.kind == FieldKind::Record && meaning->noun.empty();
            EXPECT_NE(meaning->judge == nullptr, !isThere) << field.name;
        });
}

/// Fills a record with one of everything, and two of each value that may occur more than once, but for one
/// value, which is another one, or one child, which is missing.
struct OneOdd {
    std::size_t left;
    std::string name = {};  ///< of the field that is odd; empty when there are no more
    bool isRequired = false;

    void fill(void* record, const Table& table, int level = 0) {
        constexpr int deepest = 8;
        for (const Field& field : table) {
            if (field.name == KernelXML::InstListType::element && level > deepest) continue;
            const bool isOdd = left-- == 0;
            if (isOdd) name = field.name;
            const auto addValue = [&](bool isOther) {
                if (field.parse(record, isOther ? "SYSTEM" : "HW_EMU") != ErrorKind::None)
                    field.parse(record, isOther ? "1" : "2");
            };
            if (field.parse != nullptr) {
                if (field.occurs == Occurs::Any) addValue(false);
                addValue(isOdd);
            } else if (!isOdd || field.occurs == Occurs::Required) {
                if (isOdd) isRequired = true;
                void* const child = field.append(record);
                if (child != nullptr) fill(child, field.childTable(), level + 1);
            }
        }
    }
};

template <class R>
std::size_t expectEachFieldTold() {
    R plain;
    OneOdd{static_cast<std::size_t>(-1)}.fill(&plain, R::table);
    for (std::size_t odd = 0;; ++odd) {
        R other;
        OneOdd filling{odd};
        filling.fill(&other, R::table);
        if (filling.name.empty()) return odd;
        std::vector<Difference> differences;
        RecordComparison("k", differences).compare(plain, other);
        EXPECT_EQ(differences.empty(), filling.isRequired) << filling.name;
    }
}

TEST(CompareProperties, TellsAChangeOfEveryField) {
    EXPECT_GT(expectEachFieldTold<KPContainer::Root>(), 20U);
    EXPECT_GT(expectEachFieldTold<KernelXML::Root>(), 100U);
}

/// What is told of two documents, whatever its order and meaning.
using Told = std::multiset<std::tuple<std::string, std::string, std::string>>;

Told told(const KernelXML::Root& before, const KernelXML::Root& now, bool isSwapped) {
    std::vector<Difference> differences;
    RecordComparison("k", differences).compare(before, now);
    Told texts;
    for (Difference& each : differences) {
        if (isSwapped) std::swap(each.oldText, each.newText);
        texts.emplace(each.field, each.oldText.value_or("none"), each.newText.value_or("none"));
    }
    return texts;
}

TEST(CompareProperties, TellsTheSameWithOldAndNewSwapped) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        const auto first = RandomRecord(seed).make<KernelXML::Root>();
        const auto second = RandomRecord(seed + 1000).make<KernelXML::Root>();
        EXPECT_EQ(told(first, second, false), told(second, first, true)) << seed;
        EXPECT_THAT(told(first, first, false), testing::IsEmpty()) << seed;
    }
}

}  // namespace
