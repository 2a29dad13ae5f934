#pragma once

#include <CLI/App.hpp>
#include <filesystem>
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
};

/// `options` is filled when `app` parses and must live until then.
void addOptions(CLI::App& app, Options& options);

/// The data folder chosen, or the place where the user's applications keep their data.
std::filesystem::path dataFolder(const Options& options);

}  // namespace cli
