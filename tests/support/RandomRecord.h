#pragma once

#include "platform/xml/Table.h"

#include <random>
#include <string>

/// Fills bound records of any type with values that are hard on writers and readers, the same for a seed.
class RandomRecord {
public:
    explicit RandomRecord(unsigned seed) : random_(seed) {}

    template <class R>
    R make() {
        R record;
        fill(&record, R::table, 0);
        return record;
    }

private:
    std::size_t below(std::size_t bound) { return random_() % bound; }

    void fill(void* record, const lmx60::Table& table, int level) {
        for (const lmx60::Field& field : table) {
            for (std::size_t count = countFor(field, level); count > 0; --count)
                addOne(record, field, level);
        }
    }

    std::size_t countFor(const lmx60::Field& field, int level) {
        if (field.occurs == lmx60::Occurs::Required) return 1;
        if (field.occurs == lmx60::Occurs::Optional) return below(2);
        constexpr int deepest = 12;
        return level > deepest ? 0 : below(field.kind == lmx60::FieldKind::Record && level > 3 ? 2 : 4);
    }

    void addOne(void* record, const lmx60::Field& field, int level) {
        if (field.parse != nullptr) {
            while (field.parse(record, value()) != lmx60::ErrorKind::None) {
            }
            return;
        }
        void* child = field.append(record);
        if (child != nullptr) fill(child, field.childTable(), level + 1);
    }

    std::string value() {
        constexpr const char* markup = "<a b=\"c\" d='e'/> </Loop*> & &amp; ]]>";
        constexpr const char* letters = "gr\xC3\xBC\xC3\x9F \xE6\xBC\xA2\xE5\xAD\x97 \xF0\x9F\x98\x80 \x7F";
        constexpr const char* blanks = "  blanks around  ";
        constexpr const char* controls = "\ttab\nfeed\rreturn\r\n";
        constexpr const char* values[] = {"",     "17",     "4294967295",   "NaN",      "-INF",
                                          "-0",   "1e-45",  "3.4028235e38", "16777217", "SYSTEM",
                                          blanks, controls, markup,         letters};
        return values[below(std::size(values))];
    }

    std::mt19937 random_;
};
