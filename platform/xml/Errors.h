#pragma once

#include "platform/base/Export.h"

#include <exception>
#include <stdexcept>
#include <string>

namespace lmx60 {

enum class ErrorKind {
    None,
    Unreadable,  ///< the file cannot be opened or read
    Syntax,
    DocumentType,
    TooDeep,
    TooLarge,
    TooManyElements,
    OtherFormat,  ///< well-formed, but not of the kind that is asked for
    UnknownElement,
    UnknownAttribute,
    MissingElement,
    MissingAttribute,
    RepeatedElement,
    MisplacedElement,
    UnexpectedText,
    Lexical,  ///< a value that is no literal of its type
    BelowMinimum,
    AboveMaximum,
};

/// What is wrong with a document: a kind for programs, a text for people, and the line (from 1; 0 for none).
struct Error {
    ErrorKind kind = ErrorKind::None;
    std::string text;
    int line = 0;
};

/// A document could not be read into records.
class KP_EXPORT ReadError : public std::exception {
public:
    explicit ReadError(Error error) : error_(std::move(error)) {}
    ~ReadError() override;

    const Error& error() const { return error_; }
    const char* what() const noexcept override { return error_.text.c_str(); }

private:
    Error error_;
};

/// Records that make no valid document, or hold text that XML cannot carry.
class KP_EXPORT WriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~WriteError() override;
};

}  // namespace lmx60
