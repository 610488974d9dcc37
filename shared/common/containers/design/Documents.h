#pragma once

#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"

#include <string>

/// Reading and writing of documents with the messages that all of them share.
namespace documents {

/// Throws HEXAll with message 17-132: the error's text, the path and the line.
[[noreturn]] void raiseUnreadable(const lmx60::ReadError& error, const std::string& path);

/// Throws HEXAll with message 17-1377: the path and the reason why there is no valid document.
[[noreturn]] void raiseUnwritable(const std::string& path, const std::string& reason);

/// Throws HEXFileNotFoundException when the path is empty or nothing is there.
void requireFile(const std::string& path);

/// Runs what reads a document; of what cannot be read it throws HEXAll as raiseUnreadable does.
template <class Read>
auto reading(const std::string& path, Read read) {
    try {
        return read();
    } catch (const lmx60::ReadError& error) {
        raiseUnreadable(error, path);
    }
}

/// The document of a record. Throws HEXAll as raiseUnwritable does, with the name for the path.
template <class R>
std::string textOf(const R& record, const std::string& name) {
    try {
        return lmx60::toString(record);
    } catch (const lmx60::WriteError& error) {
        raiseUnwritable(name, error.what());
    }
}

/// Replaces the file as a whole or not at all. Throws HEXAll with message 17-1376 and the system's reason
/// when it cannot be written.
void writeFile(const std::string& path, const std::string& document);

}  // namespace documents
