#include <service/DevClient.h>

#include <httplib.h>
#include <stdexcept>

namespace korvel::service {

std::string readDevInterface(const std::string& baseURL, const std::filesystem::path& caFile,
                             const std::string& path) {
    const auto end = baseURL.find_last_not_of('/');
    httplib::Client client(baseURL.substr(0, end + 1));
    client.set_ca_cert_path(caFile.string());
    const auto result = client.Get(path);
    if (!result) throw std::runtime_error(baseURL + ": " + to_string(result.error()));
    if (result->status != 200) {
        throw std::runtime_error(baseURL + ": status " + std::to_string(result->status));
    }
    return result->body;
}

}  // namespace korvel::service
