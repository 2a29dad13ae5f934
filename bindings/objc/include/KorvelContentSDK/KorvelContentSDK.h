/// Everything that a host in Objective-C needs, in one import.
#import <KorvelContentSDK/KCSDK.h>
#import <KorvelContentSDK/KCSDKDevice.h>
#import <KorvelContentSDK/KCSDKPlayer.h>
#import <KorvelContentSDK/KCSDKRecords.h>
#import <KorvelContentSDK/KCSDKUIKit.h>
