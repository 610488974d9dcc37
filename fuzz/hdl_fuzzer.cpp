// Sources in hardware description languages: they end, and a comment before them changes nothing.

#include "containers/lint/HdlSource.h"

#include "fuzz/Fuzz.h"

namespace {

using kfab::lint::HdlSource;

bool isSame(const HdlSource& one, const HdlSource& other) {
    const auto isSameModule = [](const auto& a, const auto& b) {
        return a.name == b.name && a.ports == b.ports && a.unknown == b.unknown;
    };
    return one.included == other.included && one.hidden == other.hidden &&
           std::equal(one.modules.begin(), one.modules.end(), other.modules.begin(), other.modules.end(),
                      isSameModule);
}

void tryReader(HdlSource (*read)(std::string_view), const std::string& text) {
    fuzz::require(isSame(read(text), read("/* module x(y); */\n" + text)), "a comment changes nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(fuzz::text(data, size));
    tryReader(kfab::lint::readVerilog, text);
    tryReader(kfab::lint::readVhdl, text);
    return 0;
}
