#include "containers/bindings/JavaCall.h"

#include "containers/bindings/JavaError.h"
#include "platform/base/HI18N.h"

namespace {

/// The UTF-16 units of a Java string, for as long as this lives.
class Units {
public:
    Units(JNIEnv* environment, jstring text)
        : environment_(environment), text_(text), units_(environment->GetStringChars(text, nullptr)) {}
    ~Units() {
        if (units_ != nullptr) environment_->ReleaseStringChars(text_, units_);
    }
    Units(const Units&) = delete;
    Units& operator=(const Units&) = delete;

    /// False when the JVM had no memory for them; its exception is pending then.
    explicit operator bool() const { return units_ != nullptr; }

    /// Each unit as a wide character of its own, halves of surrogate pairs as well.
    std::wstring widened() const { return {units_, units_ + environment_->GetStringLength(text_)}; }

private:
    JNIEnv* environment_;
    jstring text_;
    const jchar* units_;
};

}  // namespace

std::optional<std::string> JavaCall::convert(jstring given) const {
    if (given == nullptr) {
        raiseInJava(environment_, JavaError::nullPointer, "null std::string");
        return std::nullopt;
    }
    const Units units(environment_, given);
    if (!units) return std::nullopt;
    return HI18N::convert(units.widened());
}

JavaCall::StringList* JavaCall::convert(jlong handle) const {
    if (handle == 0)
        raiseInJava(environment_, JavaError::nullPointer, "std::vector< std::string > & reference is null");
    return reinterpret_cast<StringList*>(handle);  // NOLINT(performance-no-int-to-ptr): Java keeps it so
}
