#include "basic/library/channels.hpp"

#include "basic/library/errors.hpp"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace tessara::basic {

std::string Channels::system_reason(int error) {
    return error == 0 ? "unknown reason" : std::generic_category().message(error);
}

void Channels::check_number(int number) {
    if (number == Standard) {
        throw LibraryError(ErrorNumber::StandardChannel, {});
    }
    if (number < 1 || number > Highest) {
        throw LibraryError(ErrorNumber::ChannelNumber,
                           {std::to_string(number), std::to_string(Highest)});
    }
}

void Channels::open_output(int number, const std::filesystem::path& path, const std::string& name) {
    check_number(number);
    close(number);
    errno = 0;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) {
        throw LibraryError(ErrorNumber::CannotOpen, {name, system_reason(errno)});
    }
    files_.insert_or_assign(number, std::move(file));
}

void Channels::open_data(int number, DataFile file) {
    check_number(number);
    close(number);
    files_.insert_or_assign(number, std::move(file));
    last_data_ = number;
}

void Channels::close(int number) {
    files_.erase(number);
    if (number == last_data_) {
        last_data_ = 0;
    }
}

void Channels::close_all() {
    files_.clear();
    last_data_ = 0;
}

bool Channels::is_output(int number) const {
    const auto found = files_.find(number);
    return number == Standard ||
           (found != files_.end() && std::holds_alternative<std::ofstream>(found->second));
}

const Channels::DataFile* Channels::data(bool transparent) const {
    const auto found = files_.find(last_data_);
    const DataFile* file = found != files_.end() ? std::get_if<DataFile>(&found->second) : nullptr;
    return file != nullptr && file->transparent == transparent ? file : nullptr;
}

void Channels::write(int number, std::string_view text) {
    if (!is_output(number)) {
        throw LibraryError(ErrorNumber::ListingClosed, {std::to_string(number)});
    }
    errno = 0;
    bool good = true;
    if (number == Standard) {
        good = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
        good = std::fflush(stdout) == 0 && good;
        if (!good) {
            std::clearerr(stdout);
        }
    } else {
        auto& file = std::get<std::ofstream>(files_.find(number)->second);
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        file.flush();
        good = file.good();
        file.clear();
    }
    if (!good) {
        throw LibraryError(ErrorNumber::CannotWrite,
                           {std::to_string(number), system_reason(errno)});
    }
}

} // namespace tessara::basic
