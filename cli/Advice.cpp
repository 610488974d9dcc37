#include "cli/Advice.h"

#include "containers/kp/PackageRefusals.h"

namespace cli {
namespace {

std::string adviceOn(const std::exception& failure) {
    if (dynamic_cast<const HKPSealBroken*>(&failure) != nullptr) return resealAdvice();
    if (dynamic_cast<const HKPIpTaken*>(&failure) != nullptr) return replaceIpAdvice();
    if (dynamic_cast<const HKPFilesThere*>(&failure) != nullptr) return "; --force replaces its files";
    return {};
}

}  // namespace

std::string resealAdvice() {
    return "; 'kp verify' tells more, and --reseal goes on and seals the package anew";
}

std::string replaceIpAdvice() {
    return ", or replace it with --replace-ip";
}

std::string textWithAdvice(const std::exception& failure) {
    std::string text = failure.what();
    const std::string advice = adviceOn(failure);
    while (!advice.empty() && (text.ends_with('\n') || text.ends_with('.')))
        text.pop_back();
    return text + advice;
}

void withAdvice(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const HKPRefused& refusal) {
        throw HEXAlgException(textWithAdvice(refusal));
    }
}

}  // namespace cli
