// Packs data files: makes the corpus of transparent files from that of data files.
//
//   make_tdf_corpus FOLDER FILE.dat...

#include "engine/data/tdf_file.hpp"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

int main(int count, char** arguments) {
    using namespace tessara;
    if (count < 2) {
        std::fputs("usage: make_tdf_corpus FOLDER FILE.dat...\n", stderr);
        return 2;
    }
    try {
        const std::filesystem::path folder(arguments[1]);
        std::filesystem::create_directories(folder);
        for (int k = 2; k < count; ++k) {
            const std::filesystem::path source(arguments[k]);
            std::ifstream in(source, std::ios::binary);
            const std::string text{std::istreambuf_iterator<char>(in), {}};
            const TdfAuthorship by{"corpus", {0, 1, 0}, "", {2021, 3, 4, 5, 6, 7}, "a remark"};
            const std::string bytes = write_tdf(text, source.string(), by);
            std::ofstream out(folder / source.stem().concat(".tdf"), std::ios::binary);
            out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
