#include "cli/Advice.h"

#include "containers/kp/PackageRefusals.h"

namespace cli {
namespace {

[[noreturn]] void refuse(std::string reason, const std::string& advice) {
    while (reason.ends_with('\n') || reason.ends_with('.'))
        reason.pop_back();
    throw HEXAlgException(reason + advice);
}

}  // namespace

std::string resealAdvice() {
    return "; 'kp verify' tells more, and --reseal goes on and seals the package anew";
}

std::string replaceIpAdvice() {
    return ", or replace it with --replace-ip";
}

void withAdvice(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const HKPSealBroken& refusal) {
        refuse(refusal.what(), resealAdvice());
    } catch (const HKPIpTaken& refusal) {
        refuse(refusal.what(), replaceIpAdvice());
    }
}

}  // namespace cli
