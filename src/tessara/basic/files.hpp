#pragma once

#include "basic/library/channels.hpp"
#include "basic/python/ref.hpp"

#include <filesystem>
#include <string_view>

/// Files by the names that Python programs give them.
namespace tessara::basic {

/// Largest data file that is read, in bytes.
inline constexpr std::size_t LargestDataFile = std::size_t{256} * 1024 * 1024;

/// Reads a data file with Python's `open`, which knows the names of every platform. `path` is a
/// `str` or `bytes`. Throws `LibraryError` where it is no readable file.
Channels::DataFile read_data_file(const Ref& path);

/// A path for the C++ library, and the name to show. Throws `LibraryError` where the path can be no
/// file's name.
struct OutputFile {
    std::filesystem::path path;
    std::string name;
};
OutputFile output_file(const Ref& path);

/// Writes a file, which is gone where that fails. Throws `LibraryError`.
void write_file(const OutputFile& file, std::string_view content);

} // namespace tessara::basic
