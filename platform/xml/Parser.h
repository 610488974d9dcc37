#pragma once

#include "platform/xml/Errors.h"

#include <cstddef>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <string_view>

struct XML_ParserStruct;

namespace lmx60 {

/// Runs a document through the XML parser, which tells of what it meets. Refuses document type declarations
/// and what is larger than a document may be. What parses throws ReadError, or what one of the functions
/// that are told threw.
class Parser {
protected:
    Parser();
    ~Parser();
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    void parse(std::string document);
    void parseFile(const std::string& path);

    /// May change the bytes of a document in place before they are parsed.
    virtual void prepare(std::span<char> document);
    /// Names have their prefixes. Attributes are names and values in turn, up to a null pointer.
    virtual void start(const char* name, const char** attributes) = 0;
    virtual void end() = 0;
    /// The text between two tags may come in pieces.
    virtual void text(std::string_view text) = 0;

    /// Where the parser is, from 1.
    int line() const;
    [[noreturn]] void fail(ErrorKind kind, const std::string& text) const;

private:
    std::span<char> makeRoom(std::size_t size);
    void parseRoom(std::size_t size);

    /// Runs one event; an exception must not cross the parser, so it is kept until the parser returns.
    template <class Event>
    static void guarded(void* self, Event event);

    std::unique_ptr<XML_ParserStruct, void (*)(XML_ParserStruct*)> parser_;
    std::exception_ptr failure_;
};

}  // namespace lmx60
