#pragma once

#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <jni.h>

/// A call from Java of an operation on strings and lists of strings.
///
/// Java strings reach the operation as narrow ones, list handles as references. Arguments are converted from
/// left to right. The first that cannot be ends the call: a Java exception is pending then, the operation is
/// not called and the result is its type's zero. What the operation throws passes through.
class JavaCall {
public:
    using StringList = std::vector<std::string>;

    explicit JavaCall(JNIEnv* environment) : environment_(environment) {}

    template <class Operation, class... Given>
    auto run(Operation operation, Given... given) const {
        std::tuple<decltype(convert(given))...> arguments;
        return std::apply(
            [&](auto&... argument) {
                using Result = decltype(operation(*argument...));
                if (!((argument = convert(given)) && ...)) return Result();
                return operation(*argument...);
            },
            arguments);
    }

private:
    std::optional<std::string> convert(jstring given) const;
    StringList* convert(jlong handle) const;

    JNIEnv* environment_;
};
