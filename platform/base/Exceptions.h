#pragma once

#include "platform/base/Export.h"

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

struct ComMsg;

/// An operation failed; what() is one complete sentence.
class KP_EXPORT HEXAlgException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~HEXAlgException() override;
};

/// The general exception of the host, which carries a numbered message (see ComMsgMgr::raise).
class KP_EXPORT HEXAll : public std::runtime_error {
public:
    HEXAll(const std::string& text, std::shared_ptr<const ComMsg> message);
    ~HEXAll() override;

    const ComMsg& message() const { return *message_; }

private:
    std::shared_ptr<const ComMsg> message_;
};

/// A named file is missing; what() names it and says so.
class KP_EXPORT HEXFileNotFoundException : public std::runtime_error {
public:
    explicit HEXFileNotFoundException(const std::string& path);
    ~HEXFileNotFoundException() override;

    /// The path as the caller gave it; empty when none was given.
    const std::string& getPath() const { return path_; }

private:
    std::string path_;
};

/// XML output could not be opened or produced.
class KP_EXPORT HXMLException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~HXMLException() override;
};

/// Work was called off (see HUTInterrupt). None of the classes above, so that who handles one of those does
/// not go on; but of the standard family, so that operations which hand failures back as texts or as false
/// hand back this one too. Who calls those asks HUTInterrupt::check() afterwards.
class KP_EXPORT HEXInterrupted : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~HEXInterrupted() override;
};

/// A condition that none of the other exceptions names.
class KP_EXPORT HEXError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~HEXError() override;
};
