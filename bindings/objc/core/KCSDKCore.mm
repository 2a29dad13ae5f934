#import <KorvelContentSDK/KCSDKCore.h>

#import "KCBridge.h"

std::shared_ptr<korvel::platform::Object> KCSDKCoreObject(KCSDKObject* object) {
    return kc::core(object);
}

id KCSDKObjectOf(std::shared_ptr<korvel::platform::Object> core) {
    return kc::wrapDynamic(std::move(core));
}
