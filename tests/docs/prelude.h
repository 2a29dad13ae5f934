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

inline std::shared_ptr<korvel::KCSDKOndemandClass> chosenClass;
inline std::shared_ptr<korvel::platform::UIView> parentView;
inline std::shared_ptr<korvel::KCSDKPlayerEvents> remoteControl;
inline void showPosition(float) {}
inline void showSummary(std::int64_t) {}
inline void askForConsent(const korvel::NSError&) {}
