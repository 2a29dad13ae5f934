#pragma once

#include <korvel/platform/Device.h>

#include <CLI/App.hpp>
#include <filesystem>
#include <functional>
#include <string>

namespace cli {

/// What holds for every command.
struct Options {
    std::string url;
    std::string apiKey;
    std::string secretKey;
    std::string tenant;
    std::filesystem::path authorityFile;  ///< empty: the system's authorities
    std::filesystem::path dataFolder;     ///< empty: the user's own
    std::string user;
    double timeout = 15;  ///< seconds, for each answer
    bool json = false;
    bool verbose = false;
    /// Makes the device the process's own; a command that plays puts a player into it.
    std::function<bool(korvel::platform::Device, const korvel::platform::DeviceOptions&)> install =
        korvel::platform::Device::install;
};

/// `options` is filled when `app` parses and must live until then.
void addOptions(CLI::App& app, Options& options);

/// What an environment variable such as XDG_DATA_HOME names, else the folder's usual place below
/// the user's home; relative where there is no home.
std::filesystem::path userFolder(const char* variable, const char* usual);

/// The data folder chosen, or the place where the user's applications keep their data.
std::filesystem::path dataFolder(const Options& options);

}  // namespace cli
