// What parts of the machine take from the process's device, which stands above them.
#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/foundation/RunLoop.h>
#include <korvel/platform/uikit/Screen.h>

#include <utility>

namespace korvel::platform {

RunLoop::RunLoop() : RunLoop(Device::current().mainQueue) {}

Screen& Screen::main() { return *Device::current().screen; }
UIApplication& UIApplication::shared() { return Screen::main().application(); }
UIDevice& UIDevice::current() { return Screen::main().device(); }

AVPlayer::AVPlayer(std::shared_ptr<AVPlayerItem> item, const Device& device)
    : engine_(device.mediaEngine),
      keySystem_(device.contentKeySystem),
      mainQueue_(device.mainQueue),
      clock_(device.clock),
      locale_(device.locale) {
    open(std::move(item));
}

}  // namespace korvel::platform
