#pragma once

#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"

#include <memory>
#include <string>

/// Reading and writing of document files with the messages that all documents share.
namespace documents {

/// Throws HEXAll with message 17-132: the error's text, the path and the line.
[[noreturn]] void raiseUnreadable(const lmx60::ReadError& error, const std::string& path);

/// Throws HEXFileNotFoundException when the path is empty or nothing is there, HEXAll when the document
/// cannot be read into an R.
template <class R>
std::unique_ptr<R> readFile(const std::string& path) {
    if (path.empty() || !HUTFile::exists(path)) throw HEXFileNotFoundException(path);
    try {
        return std::make_unique<R>(lmx60::parseFile<R>(path));
    } catch (const lmx60::ReadError& error) {
        raiseUnreadable(error, path);
    }
}

/// Throws HEXAll with message 17-1376 when the file cannot be written, with 17-1377 when the record makes no
/// valid document. The file is replaced as a whole or not at all.
template <class R>
void writeFile(const R& record, const std::string& path) {
    try {
        if (lmx60::writeFile(record, path).kind != lmx60::ErrorKind::None)
            ComMsgMgr::raise("@17-1376@%s", {path});
    } catch (const lmx60::WriteError& error) {
        ComMsgMgr::raise("@17-1377@%s%s", {path, error.what()});
    }
}

}  // namespace documents
