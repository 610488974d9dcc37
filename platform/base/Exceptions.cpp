#include "platform/base/Exceptions.h"

// Defined here so that each class has one type information, in this library.
HEXAlgException::~HEXAlgException() = default;
HEXAll::~HEXAll() = default;
HXMLException::~HXMLException() = default;
HEXError::~HEXError() = default;
HEXInterrupted::~HEXInterrupted() = default;
HEXFileNotFoundException::~HEXFileNotFoundException() = default;

HEXFileNotFoundException::HEXFileNotFoundException(const std::string& path)
    : std::runtime_error(path.empty() ? "No file was named" : "File not found: '" + path + "'"),
      path_(path) {}
