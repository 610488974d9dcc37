#include "containers/compare/RecordComparison.h"

#include "containers/compare/WholeItem.h"
#include "containers/kernel/NumberText.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <set>

namespace kfab::compare {
namespace {

using lmx60::Field;
using lmx60::FieldKind;
using lmx60::Table;

/// Of most fields of a report.
constexpr Meaning figure{.record = nullptr,
                         .field = {},
                         .judge = [](const Step&) { return Kind::Inside; },
                         .reading = Reading::Figure};

std::size_t countOf(const Field& field, const void* record) {
    return record == nullptr ? 0 : field.count(record);
}

std::string valueAt(const Field& field, const void* record, std::size_t index) {
    std::string text;
    field.format(record, index, text);
    return text;
}

std::optional<std::string> valueIfThere(const Field& field, const void* record, std::size_t index) {
    if (index >= countOf(field, record)) return {};
    return valueAt(field, record, index);
}

/// What stands for a value that is not there.
std::string defaultOf(const Field& field, const void* record) {
    const bool hasDefault = field.kind == FieldKind::Attribute || field.occurs == lmx60::Occurs::Required;
    return record != nullptr && hasDefault ? valueAt(field, record, 0) : "";
}

const Field* findField(const Table& table, std::string_view name) {
    const Field* field =
        std::find_if(table.begin(), table.end(), [&](const Field& each) { return each.name == name; });
    return field == table.end() ? nullptr : field;
}

/// What a record holds in a field; empty for nothing.
std::string textOf(const void* record, const Table& table, std::string_view name) {
    const Field* field = findField(table, name);
    return field == nullptr ? "" : valueIfThere(*field, record, 0).value_or("");
}

std::string keyOf(const void* record, const Table& table, const Meaning& meaning) {
    std::string key;
    for (const std::string_view name : meaning.keys)
        if (!name.empty()) key += (key.empty() ? "" : " ") + textOf(record, table, name);
    return key;
}

/// What an item is called.
std::string nameOf(const Meaning& meaning, const std::string& key) {
    constexpr std::size_t longest = 100;
    const bool isNameless = meaning.keys.front().empty() && key.empty();
    return std::string(meaning.noun) + (isNameless ? "" : ' ' + HUTPathUtils::quoted(key, longest));
}

struct Figure {
    double number;
    std::string_view unit;
};

std::optional<Figure> figureIn(std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || !std::isfinite(number)) return {};
    return Figure{number, text.substr(static_cast<std::size_t>(end - text.data()))};
}

bool isNumber(const std::optional<std::string>& text, Reading reading) {
    if (!text) return true;
    if (reading == Reading::Number) return kernel::numberOf(*text).has_value();
    const auto figure = figureIn(*text);
    return reading == Reading::Figure && figure && figure->unit.empty();
}

bool isSameNumber(const std::string& before, const std::string& now) {
    const auto number = kernel::numberOf(before);
    return number && number == kernel::numberOf(now);
}

bool isOtherSpelling(const std::string& before, const std::string& now, Reading reading) {
    if (reading == Reading::Word) return HSTStringUtils::equalsIgnoreCase(before, now);
    return before == now || (reading == Reading::Number && isSameNumber(before, now));
}

std::optional<double> percentOf(const std::string& before, const std::string& now) {
    const auto old = figureIn(before), current = figureIn(now);
    if (!old || !current || old->unit != current->unit || old->number == 0) return {};
    return (current->number - old->number) / old->number * 100;
}

/// The numbers, when they are those from 0 on, each once.
std::optional<std::vector<std::size_t>> countedPlaces(const std::vector<std::string>& numbers) {
    std::vector<std::size_t> places;
    std::vector<bool> isTaken(numbers.size());
    for (const std::string& text : numbers) {
        const auto number = kernel::numberOf(text);
        if (!number || *number >= numbers.size() || isTaken[*number]) return {};
        isTaken[*number] = true;
        places.push_back(*number);
    }
    return places;
}

std::vector<std::size_t> placesFromOne(std::size_t count) {
    std::vector<std::size_t> places;
    for (std::size_t place = 1; place <= count; ++place)
        places.push_back(place);
    return places;
}

}  // namespace

std::string RecordComparison::Place::path() const {
    return (outer ? *outer + ": " : "") + (inner ? *inner : "");
}

RecordComparison::Items RecordComparison::itemsOf(const void* record, const Field& field) {
    Items items{{}, field.childTable()};
    for (std::size_t index = 0; index < countOf(field, record); ++index)
        items.records.push_back(field.at(record, index));
    return items;
}

std::vector<std::string> RecordComparison::keysOf(const Items& items, const Meaning& meaning) {
    std::vector<std::string> keys;
    for (const void* record : items.records)
        keys.push_back(keyOf(record, items.table, meaning));
    return keys;
}

void RecordComparison::compare(const Pair& root) {
    pending_.push_back(root);
    while (!pending_.empty()) {
        HUTInterrupt::check();
        const Pair pair = std::move(pending_.back());
        pending_.pop_back();
        place_ = pair.around;
        if (pair.meaning == nullptr || pair.meaning->noun.empty()) {
            compareFields(pair);
            continue;
        }
        const void* const there = pair.before == nullptr ? pair.now : pair.before;
        const std::string key = keyOf(there, *pair.table, *pair.meaning);
        place_ = pair.around.within(nameOf(*pair.meaning, key));
        if (pair.before != nullptr && pair.now != nullptr) {
            compareFields(pair);
        } else {
            const Change change = pair.before == nullptr ? Change::Added : Change::Removed;
            const Step step{.change = change, .before = {}, .now = {}, .record = there};
            tellItem(place_, change, pair.meaning->judge(step), key);
        }
    }
}

void RecordComparison::compareFields(const Pair& pair) {
    const auto first = static_cast<std::ptrdiff_t>(pending_.size());
    for (const Field& field : *pair.table) {
        if (&field == pair.toldByPlace) continue;
        const Meaning* row = meaningOf(field);
        const Meaning& meaning = row == nullptr ? figure : *row;
        if (field.kind == FieldKind::Record)
            pairItems(itemsOf(pair.before, field), itemsOf(pair.now, field), meaning);
        else if (field.kind == FieldKind::Marker)
            compareCounts(pair, field);
        else if (!meaning.noun.empty())
            compareSets(pair, field, meaning);
        else
            compareValues(pair, field, meaning);
    }
    std::reverse(pending_.begin() + first, pending_.end());
}

void RecordComparison::compareValues(const Pair& pair, const Field& field, const Meaning& meaning) {
    const std::size_t count = std::max(countOf(field, pair.before), countOf(field, pair.now));
    for (std::size_t index = 0; index < count; ++index) {
        auto old = valueIfThere(field, pair.before, index), current = valueIfThere(field, pair.now, index);
        if (old == current) continue;
        const Step step{.before = old ? *old : defaultOf(field, pair.before),
                        .now = current ? *current : defaultOf(field, pair.now)};
        const bool isSame = isOtherSpelling(step.before, step.now, meaning.reading);
        tellChange(place_, isSame ? Kind::Inside : meaning.judge(step), field.name, std::move(old),
                   std::move(current), isSame ? Reading::Text : meaning.reading);
    }
}

void RecordComparison::compareCounts(const Pair& pair, const Field& field) {
    const std::size_t old = countOf(field, pair.before), current = countOf(field, pair.now);
    if (old != current)
        tellChange(place_, Kind::Inside, field.name, std::to_string(old), std::to_string(current),
                   Reading::Figure);
}

void RecordComparison::compareSets(const Pair& pair, const Field& field, const Meaning& meaning) {
    const auto valuesOf = [&](const void* record) {
        std::set<std::string> values;
        for (std::size_t index = 0; index < countOf(field, record); ++index)
            values.insert(meaning.shown(valueAt(field, record, index)));
        return values;
    };
    const std::set<std::string> old = valuesOf(pair.before), current = valuesOf(pair.now);
    const auto tellMissing = [&](Change change, const auto& values, const auto& others) {
        for (const std::string& value : values)
            if (!others.contains(value))
                tellItem(place_.within(nameOf(meaning, value)), change,
                         meaning.judge({.change = change, .before = {}, .now = {}}), value);
    };
    tellMissing(Change::Removed, old, current);
    tellMissing(Change::Added, current, old);
}

void RecordComparison::pairItems(const Items& before, const Items& now, const Meaning& meaning) {
    std::vector<ItemPair> pairs = pairByKeys(keysOf(before, meaning), keysOf(now, meaning));
    const Field* toldByPlace = meaning.isOrdered ? tellMoved(pairs, before, now, meaning) : nullptr;
    for (const ItemPair& pair : pairs)
        pending_.push_back({.before = pair.before ? before.records[*pair.before] : nullptr,
                            .now = pair.now ? now.records[*pair.now] : nullptr,
                            .table = &before.table,
                            .meaning = &meaning,
                            .toldByPlace = toldByPlace,
                            .around = place_});
}

/// An item is found again under another name as well. Numbers that only count the places say which items
/// moved, and are not told of those behind them: theirs is the field that is returned.
const Field* RecordComparison::tellMoved(std::vector<ItemPair>& pairs, const Items& before, const Items& now,
                                         const Meaning& meaning) {
    const auto numbersOf = [&](const Items& items) {
        std::vector<std::string> numbers;
        for (const void* record : items.records)
            numbers.push_back(textOf(record, items.table, meaning.otherKey));
        return numbers;
    };
    const auto oldNumbers = numbersOf(before), newNumbers = numbersOf(now);
    pairTheRest(pairs, oldNumbers, newNumbers);
    const auto oldCounted = countedPlaces(oldNumbers), newCounted = countedPlaces(newNumbers);
    const bool isCounted = oldCounted && newCounted;
    const ItemPlaces places{isCounted ? *oldCounted : placesFromOne(oldNumbers.size()),
                            isCounted ? *newCounted : placesFromOne(newNumbers.size()),
                            keysOf(before, meaning), keysOf(now, meaning)};
    markMoved(pairs, places);
    for (const ItemPair& pair : pairs)
        if (pair.isMoved)
            tellChange(place_.within(nameOf(meaning, places.oldNames[*pair.before])), meaning.judge({}),
                       isCounted ? meaning.otherKey : "place", std::to_string(places.before[*pair.before]),
                       std::to_string(places.now[*pair.now]), Reading::Number);
    return isCounted ? findField(before.table, meaning.otherKey) : nullptr;
}

void RecordComparison::tellItem(const Place& place, Change change, Kind kind, const std::string& name) {
    differences_.push_back(wholeItem(kernel_, kind, change, place.path(), name));
}

void RecordComparison::tellChange(const Place& place, Kind kind, std::string_view field,
                                  std::optional<std::string> before, std::optional<std::string> now,
                                  Reading reading) {
    Difference& told = differences_.emplace_back(
        Difference{.kernel = kernel_, .kind = kind, .path = place.path(), .field = std::string(field)});
    told.isNumber = isNumber(before, reading) && isNumber(now, reading);
    if (reading == Reading::Figure && before && now) told.percent = percentOf(*before, *now);
    told.oldText = std::move(before);
    told.newText = std::move(now);
}

}  // namespace kfab::compare
