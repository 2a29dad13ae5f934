#include <service/streams/Encryption.h>

#include <openssl/evp.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace korvel::service {

namespace {

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw std::runtime_error("cannot read " + file.string());
    return {std::istreambuf_iterator(stream), {}};
}

void write(const std::filesystem::path& file, const std::string& content) {
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    if (!stream.flush()) throw std::runtime_error("cannot write " + file.string());
}

/// A segment's number is its initialisation vector where the playlist names none.
std::string encrypted(const std::string& plain, const ContentKey& key, std::size_t number) {
    ContentKey vector{};
    for (std::size_t i = 0; i < sizeof number; ++i) {
        vector.at(vector.size() - 1 - i) = static_cast<std::uint8_t>(number >> 8 * i);
    }
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    std::string sealed(plain.size() + key.size(), '\0');
    auto* into = reinterpret_cast<std::uint8_t*>(sealed.data());
    int written = 0;
    int rest = 0;
    const bool done =
        EVP_EncryptInit_ex(context.get(), EVP_aes_128_cbc(), nullptr, key.data(), vector.data()) &&
        EVP_EncryptUpdate(context.get(), into, &written,
                          reinterpret_cast<const std::uint8_t*>(plain.data()),
                          static_cast<int>(plain.size())) &&
        EVP_EncryptFinal_ex(context.get(), into + written, &rest);
    if (!done) throw std::runtime_error("cannot encrypt");
    sealed.resize(static_cast<std::size_t>(written) + static_cast<std::size_t>(rest));
    return sealed;
}

}  // namespace

void encryptStream(const std::filesystem::path& from, const std::filesystem::path& to,
                   const ContentKey& key, const std::string& keyAddress) {
    std::filesystem::create_directories(to);
    std::ifstream playlist(from / "index.m3u8");
    std::string copy;
    std::size_t segments = 0;
    for (std::string line; std::getline(playlist, line); copy += line + '\n') {
        if (line.starts_with("#EXTINF") && segments == 0)
            copy += "#EXT-X-KEY:METHOD=AES-128,URI=\"" + keyAddress + "\"\n";
        if (line.empty() || line.starts_with('#')) continue;
        write(to / line, encrypted(contentOf(from / line), key, segments++));
    }
    if (segments == 0) throw std::runtime_error("no segments in " + from.string());
    write(to / "index.m3u8", copy);
}

}  // namespace korvel::service
