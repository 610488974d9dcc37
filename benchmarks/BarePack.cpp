// The least that packing a tree takes: each file is read, deflated at level 6 and written.

#include <iostream>

#include "benchmarks/BareFiles.h"
#include <libdeflate.h>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::cerr << "usage: bare_pack DIRECTORY OUTPUT\n";
        return 2;
    }
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(6), libdeflate_free_compressor);
    const bare::File output(arguments[2], O_WRONLY | O_CREAT | O_TRUNC);
    std::vector<char> bytes, packed;
    for (const auto& item : std::filesystem::recursive_directory_iterator(arguments[1])) {
        if (!item.is_regular_file()) continue;
        const bare::File input(item.path(), O_RDONLY);
        bytes.resize(item.file_size());
        input.read(bytes);
        packed.resize(libdeflate_deflate_compress_bound(compressor.get(), bytes.size()));
        const std::size_t size = libdeflate_deflate_compress(compressor.get(), bytes.data(), bytes.size(),
                                                             packed.data(), packed.size());
        output.write(std::span(packed).first(size));
    }
}
