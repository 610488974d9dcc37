#include "platform/base/Exceptions.h"

#include <utility>

// Defined here so that each class has one type information, in this library.
HEXAlgException::~HEXAlgException() = default;
HEXAll::~HEXAll() = default;
HXMLException::~HXMLException() = default;
HEXError::~HEXError() = default;
HEXInterrupted::~HEXInterrupted() = default;
HEXFileNotFoundException::~HEXFileNotFoundException() = default;

HEXAll::HEXAll(const std::string& text, std::shared_ptr<const ComMsg> message)
    : std::runtime_error(text), message_(std::move(message)) {}

HEXFileNotFoundException::HEXFileNotFoundException(const std::string& path)
    : std::runtime_error(path.empty() ? "No file was named" : "File not found: '" + path + "'"),
      path_(path) {}
