#pragma once

#include "Program.h"
#include "support/TemporaryFolder.h"

#include <service/ContentService.h>

#include <gtest/gtest.h>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace korvel::tests {

using service::Answer;
using service::ContentService;

/// A service, a data folder, and the environment in which the program finds them.
class CommandLine : public testing::Test {
protected:
    using Arguments = std::vector<std::string>;

    /// What a sanitizer is to know, it is told by the environment.
    static std::string inherited(const char* name) {
        const char* value = std::getenv(name);
        return value ? value : "";
    }
    Arguments environment() const {
        return {"KORVEL_URL=" + service.baseURL(),
                "KORVEL_API_KEY=" + service.options().apiKey,
                "KORVEL_SECRET_KEY=" + service.options().secretKey,
                "KORVEL_TENANT=" + service.options().tenant,
                "KORVEL_CA=" + service.caFile().string(),
                "KORVEL_DATA_FOLDER=" + folder.string(),
                "KORVEL_USER=anna",
                "TZ=UTC",
                "TSAN_OPTIONS=halt_on_error=1:" + inherited("TSAN_OPTIONS"),
                "LSAN_OPTIONS=" + inherited("LSAN_OPTIONS")};
    }
    Ended run(Arguments arguments, const Arguments& further = {}) const {
        auto variables = environment();
        variables.insert(variables.begin(), further.begin(), further.end());  // the first counts
        return Program(std::move(arguments), std::move(variables)).wait();
    }

    ContentService service;
    TemporaryFolder temporary;
    const std::filesystem::path folder = temporary / "";
};

}  // namespace korvel::tests
