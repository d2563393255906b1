#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tessara::basic {

/// The numbered channels: files for output, the data file that is being read, and the standard
/// output under a number of its own.
class Channels {
public:
    static constexpr int Standard = 6;
    /// Highest number under which a file can be opened.
    static constexpr int Highest = 999;

    /// A data file, read into memory when it was opened.
    struct DataFile {
        std::string name;
        std::string text;
        bool transparent = false; ///< packed, not ASCII
    };

    /// The words for an error number of the C library.
    static std::string system_reason(int error);

    /// Throws `LibraryError` where a file cannot be opened under the number.
    static void check_number(int number);

    /// Opens a file for output, empties it, and closes what the channel held. `name` is the file's
    /// name for messages. Throws `LibraryError`; the channel is then closed.
    void open_output(int number, const std::filesystem::path& path, const std::string& name);
    /// Puts a data file on the channel in place of what it held.
    void open_data(int number, DataFile file);
    /// Closes the channel if it is open.
    void close(int number);
    void close_all();

    bool is_output(int number) const;
    /// The data file that was opened last, if it is still open and of that kind.
    const DataFile* data(bool transparent) const;

    /// Writes text and brings it out at once. Throws `LibraryError` where the channel is not open
    /// for output or the text cannot be written.
    void write(int number, std::string_view text);

private:
    std::map<int, std::variant<std::ofstream, DataFile>> files_;
    int last_data_ = 0;
};

} // namespace tessara::basic
