#include <korvel/platform/foundation/Bundle.h>

#include <fstream>
#include <utility>

namespace korvel::platform {

Bundle::Bundle(std::string identifier, std::filesystem::path folder)
    : identifier_(std::move(identifier)), folder_(std::move(folder)) {}

std::optional<std::filesystem::path> Bundle::path(std::string_view name,
                                                  std::string_view extension) const {
    std::string file(name);
    if (!extension.empty()) file.append(".").append(extension);
    auto whole = folder_;
    whole += '/' + file;  // not operator/, which lets an absolute name replace the folder
    std::error_code error;
    if (!std::filesystem::exists(whole, error)) return std::nullopt;
    return whole.lexically_normal();
}

std::optional<Data> Bundle::contents(std::string_view name, std::string_view extension) const {
    const auto file = path(name, extension);
    if (!file) return std::nullopt;
    std::error_code error;
    const auto size = std::filesystem::file_size(*file, error);
    if (error) return std::nullopt;
    Data data(size);
    std::ifstream stream(*file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(data.data()), static_cast<std::streamsize>(size));
    if (!stream) return std::nullopt;
    return data;
}

}  // namespace korvel::platform
