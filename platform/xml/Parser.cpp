#include "platform/xml/Parser.h"

#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/xml/Bytes.h"
#include "platform/xml/Limits.h"

#include <algorithm>
#include <functional>
#include <istream>

#include <expat.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace lmx60 {
namespace {

/// Runs what reads a file.
auto reading(auto work) {
    try {
        return work();
    } catch (const HEXAlgException& failure) {
        throw ReadError({ErrorKind::Unreadable, failure.what(), 0});
    }
}

void requireFitting(std::size_t size) {
    if (size > maximumDocument) throw ReadError({ErrorKind::TooLarge, tooLarge, 0});
}

/// All bytes that `read` gets, or as many as show that they are too many.
std::string readFitting(const std::function<std::size_t(char* to, std::size_t size)>& read) {
    std::string bytes, piece(65536, '\0');
    while (bytes.size() <= maximumDocument) {
        const std::size_t got = read(piece.data(), piece.size());
        bytes.append(piece, 0, got);
        if (got < piece.size()) break;
    }
    return bytes;
}

std::string readFitting(const disk::FileDescriptor& file) {
    return reading(
        [&] { return readFitting([&](char* to, std::size_t size) { return disk::read(file, to, size); }); });
}

disk::FileDescriptor open(const std::string& path) {
    return reading([&] { return disk::open(path, O_RDONLY); });
}

}  // namespace

ReadError::~ReadError() = default;

std::string readBytes(const std::string& path) {
    return readFitting(open(path));
}

std::string readBytes(std::istream& stream) {
    return readFitting([&](char* to, std::size_t size) {
        return static_cast<std::size_t>(stream.rdbuf()->sgetn(to, static_cast<std::streamsize>(size)));
    });
}

Parser::~Parser() = default;

int Parser::line() const {
    return static_cast<int>(XML_GetCurrentLineNumber(parser_.get()));
}

void Parser::fail(ErrorKind kind, const std::string& text) const {
    throw ReadError({kind, text, line()});
}

template <class Event>
void Parser::guarded(void* self, Event event) {
    auto& parser = *static_cast<Parser*>(self);
    if (parser.failure_) return;
    try {
        event(parser);
    } catch (...) {
        parser.failure_ = std::current_exception();
        XML_StopParser(parser.parser_.get(), XML_FALSE);
    }
}

Parser::Parser() : parser_(XML_ParserCreate(nullptr), XML_ParserFree) {
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(
        parser_.get(),
        [](void* self, const XML_Char* name, const XML_Char** attributes) {
            guarded(self, [&](Parser& parser) { parser.start(name, attributes); });
        },
        [](void* self, const XML_Char*) { guarded(self, [](Parser& parser) { parser.end(); }); });
    XML_SetCharacterDataHandler(parser_.get(), [](void* self, const XML_Char* data, int length) {
        guarded(self, [&](Parser& parser) { parser.text({data, static_cast<std::size_t>(length)}); });
    });
    XML_SetStartDoctypeDeclHandler(
        parser_.get(), [](void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
            guarded(self, [](Parser& parser) {
                parser.fail(ErrorKind::DocumentType, "document type declarations are not accepted");
            });
        });
}

void Parser::prepare(std::span<char> /*document*/) {}

void Parser::parse(std::string document) {
    requireFitting(document.size());
    prepare(document);
    const std::size_t size = document.size();
    document.copy(makeRoom(size).data(), size);
    std::string().swap(document);
    parseRoom(size);
}

/// Reads a file whose size is known into the parser's own memory, without a copy besides.
void Parser::parseFile(const std::string& path) {
    const disk::FileDescriptor file = open(path);
    const struct stat status = reading([&] { return disk::status(file); });
    if (status.st_size == 0) return parse(readFitting(file));  // a pipe, or made as it is read
    const auto size = static_cast<std::size_t>(status.st_size);
    requireFitting(size);
    const std::span<char> room = makeRoom(size);
    const auto document = room.first(reading([&] { return disk::read(file, room.data(), size); }));
    prepare(document);
    parseRoom(document.size());
}

std::span<char> Parser::makeRoom(std::size_t size) {
    void* room = XML_GetBuffer(parser_.get(), static_cast<int>(size + 1));  // it gives none for no bytes
    if (room == nullptr) throw std::bad_alloc();
    return {static_cast<char*>(room), size};
}

void Parser::parseRoom(std::size_t size) {
    const XML_Status status = XML_ParseBuffer(parser_.get(), static_cast<int>(size), XML_TRUE);
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) fail(ErrorKind::Syntax, XML_ErrorString(XML_GetErrorCode(parser_.get())));
}

}  // namespace lmx60
