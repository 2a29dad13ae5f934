#pragma once

// What the documentation's examples take for granted.
#include <korvel/KorvelContentSDK.h>

inline std::shared_ptr<korvel::KCSDKConfig> configuration;
inline std::shared_ptr<korvel::KCSDKOndemandClass> chosenClass;
inline std::shared_ptr<korvel::platform::UIView> parentView;
inline std::shared_ptr<korvel::KCSDKPlayerEvents> remoteControl;
inline void showPosition(float) {}
inline void showSummary(std::int64_t) {}
inline void showFailure(const std::string&) {}
inline void play(const std::shared_ptr<korvel::KCSDKOndemandClass>&) {}
inline void askForConsent(const korvel::NSError&) {}
inline void askForConsent(const korvel::KCSDKConsent&) {}
inline void askForSubscription() {}
inline void showOffline() {}
inline void showCatalogue() {}
inline void showLogIn() {}
