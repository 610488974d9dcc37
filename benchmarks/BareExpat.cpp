// The least that binding a document takes: expat hands over all of its elements and texts, and nobody
// listens.

#include <iostream>

#include "benchmarks/BareFiles.h"
#include <expat.h>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: bare_expat DOCUMENT\n";
        return 2;
    }
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate(nullptr),
                                                                              XML_ParserFree);
    XML_SetElementHandler(
        parser.get(), [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(parser.get(), [](void*, const XML_Char*, int) {});
    const std::filesystem::path path = arguments[1];
    std::vector<char> bytes(std::filesystem::file_size(path));
    bare::File(path, O_RDONLY).read(bytes);
    if (XML_Parse(parser.get(), bytes.data(), static_cast<int>(bytes.size()), 1) != XML_STATUS_OK) {
        std::cerr << XML_ErrorString(XML_GetErrorCode(parser.get())) << '\n';
        return 1;
    }
}
