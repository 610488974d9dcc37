#include "platform/xml/Parser.h"

#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/xml/Bytes.h"

#include <algorithm>

#include <expat.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace lmx60 {
namespace {

/// The parser goes over a piece that is not the last one twice, to count its lines. It doubles its memory
/// until a piece fits behind what is left of the one before, and tells its size by an int.
constexpr std::size_t longestPiece = std::size_t{1} << 29;

/// Runs what reads a file.
auto reading(auto work) {
    try {
        return work();
    } catch (const HEXAlgException& failure) {
        throw ReadError({ErrorKind::Unreadable, failure.what(), 0});
    }
}

}  // namespace

ReadError::~ReadError() = default;

std::string readBytes(const std::string& path) {
    return reading([&] { return HUTFile::readFile(path); });
}

std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 80;
    std::string shown = "'";
    for (const char c : text.substr(0, longest))
        shown += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
    if (text.size() > longest) shown += "...";
    return shown + "'";
}

void Parser::Free::operator()(XML_ParserStruct* parser) const {
    XML_ParserFree(parser);
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

Parser::Parser(Namespaces namespaces)
    : parser_(namespaces == Namespaces::Resolved ? XML_ParserCreateNS(nullptr, namespaceEnd)
                                                 : XML_ParserCreate(nullptr)) {
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
    prepare(document);
    bool isLast = false;
    for (std::size_t at = 0; !isLast;) {
        const std::size_t size = std::min(longestPiece, document.size() - at);
        document.copy(makeRoom(size).data(), size, at);
        at += size;
        isLast = at == document.size();
        if (isLast) std::string().swap(document);
        parsePiece(size, isLast);
    }
}

/// Reads a file whose size is known and can be one piece into the parser's own memory, without a copy
/// besides.
void Parser::parseFile(const std::string& path) {
    const disk::FileDescriptor file = reading([&] { return disk::open(path, O_RDONLY); });
    const struct stat status = reading([&] { return disk::status(file); });
    const auto size = static_cast<std::size_t>(status.st_size);
    if (!S_ISREG(status.st_mode) || size == 0 || size > longestPiece)
        return parse(reading([&] { return disk::readAll(file); }));
    const std::span<char> room = makeRoom(size);
    const auto document = room.first(reading([&] { return disk::read(file, room.data(), size); }));
    prepare(document);
    parsePiece(document.size(), true);
}

std::span<char> Parser::makeRoom(std::size_t size) {
    void* room = XML_GetBuffer(parser_.get(), static_cast<int>(size + 1));  // it gives none for no bytes
    if (room == nullptr) throw std::bad_alloc();
    return {static_cast<char*>(room), size};
}

void Parser::parsePiece(std::size_t size, bool isLast) {
    const XML_Status status = XML_ParseBuffer(parser_.get(), static_cast<int>(size), isLast);
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) fail(ErrorKind::Syntax, XML_ErrorString(XML_GetErrorCode(parser_.get())));
}

}  // namespace lmx60
