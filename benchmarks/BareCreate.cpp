// The least that extracting a tree takes: directories and files of the same names and sizes are created and
// filled with bytes that are at hand. The names and sizes come from standard input, a line "SIZE PATH" each.

#include <iostream>

#include "benchmarks/BareFiles.h"

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::cerr << "usage: bare_create DIRECTORY < NAMES\n";
        return 2;
    }
    const std::filesystem::path directory = arguments[1];
    std::filesystem::path made;
    std::vector<char> bytes;
    std::size_t size = 0;
    for (std::string name; std::cin >> size && std::getline(std::cin >> std::ws, name);) {
        const std::filesystem::path path = directory / name;
        if (path.parent_path() != made) std::filesystem::create_directories(made = path.parent_path());
        const bare::File file(path, O_WRONLY | O_CREAT | O_EXCL);
        bytes.resize(std::max(bytes.size(), size), 'x');
        file.write(std::span(bytes).first(size));
    }
}
