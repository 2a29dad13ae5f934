#pragma once

// What the documentation's examples in Objective-C take for granted.
#import <KorvelContentSDK/KorvelContentSDK.h>

static KCSDKOndemandClass* chosenClass;
static id<KCSDKPlayerEventsListner> listener;
static inline void askForConsent(id consent) { (void)consent; }
static inline void askForSubscription(void) {}
static inline void keep(KCSDKPlayerEvents* events) { (void)events; }
