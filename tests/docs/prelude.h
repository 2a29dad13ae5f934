#pragma once

// What the documentation's examples take for granted.
#include <korvel/KorvelContentSDK.h>
#include <korvel/platform/foundation/RunLoop.h>

#include <chrono>
#include <iostream>
#include <memory>

struct QuietConsole final : korvel::platform::Console {
    void print(std::string_view) override {}
};
