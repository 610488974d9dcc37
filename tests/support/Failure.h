#pragma once

#include <exception>
#include <functional>
#include <string>

/// The text of what the operation throws, which must be of the type; "nothing thrown" when all goes well.
template <class Exception = std::exception>
std::string failureOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const Exception& failure) {
        return failure.what();
    }
    return "nothing thrown";
}
