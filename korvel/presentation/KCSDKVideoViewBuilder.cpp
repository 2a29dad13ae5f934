#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/network/Conduct.h>
#include <korvel/network/ContractAnswer.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/network/ServiceOperations.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/foundation/FatalError.h>
#include <korvel/platform/uikit/UIDevice.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/player/KCSDKPlayerViewModel.h>
#include <korvel/player/ViewPinning.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>
#include <korvel/presentation/StartDirection.h>
#include <korvel/presentation/TopViewController.h>
#include <korvel/sdk/KCSDK.h>
#include <korvel/sdk/SDKResources.h>

#include <utility>

namespace korvel {

using platform::Device;
using platform::DispatchQueue;
using platform::UIControlState;
using platform::UIDevice;
using platform::UIView;

/// What one start needs until the player is shown. It holds views, so it is let go on the main
/// queue, whichever thread the exchange ends on.
struct KCSDKVideoViewBuilder::Start {
    std::shared_ptr<KCSDKVideoViewBuilder> builder;
    std::shared_ptr<StartDirection> direction;
    std::shared_ptr<Conduct> conduct;
    std::shared_ptr<KCSDKPlayerViewModel> viewModel;
    std::shared_ptr<UIView> parentView;
    std::shared_ptr<UIView> overlayView;
};

namespace {

platform::URL streamOf(const KCSDKOndemandClass& record) {
    const auto link = record.streamingLink.value_or("");
    const auto url = platform::URL::parse(link);
    if (!url) platform::fatalError("the class's stream has no address: '" + link + "'");
    return *url;
}

/// What a start that nobody may be stopped by comes to where the record leads nowhere.
std::optional<Failure> missingStream(const KCSDKOndemandClass& record) {
    if (platform::URL::parse(record.streamingLink.value_or(""))) return std::nullopt;
    Failure failure;
    failure.reason = Failure::Reason::notUnderstood;
    failure.status = 200;
    failure.record = "KCSDKOndemandClass";
    failure.member = "streamingLink";
    failure.detail = "is no address";
    return failure;
}

bool isProtected(const platform::URL& stream) {
    return stream.lastPathComponent().find("manifest") != std::string::npos;
}

/// The facade's own start: tells the completion what its contract tells.
class FacadeStart final : public StartDirection {
public:
    using Completion = KCSDKVideoViewBuilder::StartCompletion;
    FacadeStart(std::shared_ptr<KCSDKNetworkManager> of, Completion completion)
        : StartDirection(std::move(of)), completion_(std::move(completion)) {}

    void done(Outcome<std::shared_ptr<KCSDKPlayerEvents>> outcome) override {
        const auto completion = std::exchange(completion_, nullptr);
        if (!completion) return;
        if (outcome) return completion(*outcome, std::nullopt);
        const auto answer = contractAnswer(outcome.failure(), Contract::perform);
        if (const auto* told = std::get_if<Answer>(&answer)) completion(nullptr, told->error);
    }
    void record(const KCSDKOndemandClass& performed, std::int64_t performedSeconds) override {
        manager->sendClassPerformance(performed, performedSeconds);
    }

private:
    Completion completion_;
};

/// Takes the player down and records the performance.
std::function<void(std::int64_t)> closeHandler(
    const std::shared_ptr<KCSDKPlayerViewController>& shown,
    std::shared_ptr<KCSDKPlayerViewModel> viewModel, std::shared_ptr<StartDirection> direction,
    const std::shared_ptr<UIView>& parentView) {
    return [weak = std::weak_ptr(shown), viewModel = std::move(viewModel),
            direction = std::move(direction),
            parent = std::weak_ptr(parentView)](std::int64_t performedSeconds) {
        if (!direction->closes(performedSeconds)) return;
        const auto controller = weak.lock();
        if (!KCSDK::shared().enablefullscreenVideo) {
            if (controller) {
                controller->view()->removeFromSuperview();
                controller->removeFromParent();
            }
        } else {
            UIDevice::current().setValue(UIDevice::orientationPortrait, "orientation");
            if (controller) controller->dismiss(true);
        }
        if (const auto host = parent.lock()) host->letGo(controller);
        if (controller) controller->setOwnsItself(false);
        // Taken here: the view model is the main queue's.
        DispatchQueue::global(DispatchQueue::QualityOfService::background)
            .async([performed = viewModel->ondemandContent, direction, performedSeconds] {
                direction->record(*performed, performedSeconds);
            });
    };
}

}  // namespace

KCSDKVideoViewBuilder::KCSDKVideoViewBuilder(std::shared_ptr<KCSDKOndemandClass> ondemandClassInfo)
    : playImage(sdkImage(Device::current(), "pause")),
      pauseImage(sdkImage(Device::current(), "play")),
      closeImage(sdkImage(Device::current(), "close")),
      ondemandClass(std::move(ondemandClassInfo)) {}

std::shared_ptr<KCSDKVideoViewBuilder> KCSDKVideoViewBuilder::create(
    std::shared_ptr<KCSDKOndemandClass> ondemandClassInfo) {
    return platform::make<KCSDKVideoViewBuilder>(std::move(ondemandClassInfo));
}

KCSDKVideoViewBuilder::~KCSDKVideoViewBuilder() = default;

void KCSDKVideoViewBuilder::setProgressSliderTintColor(std::optional<UIColor> mincolor,
                                                       std::optional<UIColor> maxcolor,
                                                       std::optional<UIColor> thumbtint,
                                                       std::optional<UIColor> tintColor) {
    sliderMinTrackColor = mincolor;
    sliderMaxTrackColor = maxcolor;
    sliderThumbTintColor = thumbtint;
    sliderTintColor = tintColor;
}

void KCSDKVideoViewBuilder::setThemeColor(UIColor color) {
    buttonColor = color;
    closeButtonColor = color;
    sliderTintColor = color;
    titleTextColor = color;
}

void KCSDKVideoViewBuilder::setEventReceiver(std::shared_ptr<KCSDKPlayerEventsListner> receiver) {
    eventReceiver = std::move(receiver);
}

void KCSDKVideoViewBuilder::startVideoIn(std::shared_ptr<UIView> parentView,
                                         std::shared_ptr<UIView> customOverlay,
                                         StartCompletion completionBlock) {
    const auto manager = KCSDK::shared().networkManager();
    if (!manager) return;
    if (!ondemandClass) {
        if (completionBlock) completionBlock(nullptr, NSError{});
        return;
    }
    start(std::move(parentView), std::move(customOverlay),
          std::make_shared<FacadeStart>(manager, std::move(completionBlock)), nullptr);
}

void KCSDKVideoViewBuilder::start(std::shared_ptr<UIView> parentView,
                                  std::shared_ptr<UIView> customOverlay,
                                  std::shared_ptr<StartDirection> direction,
                                  std::shared_ptr<Conduct> conduct) {
    const auto mainQueue = Device::current().mainQueue;
    const std::shared_ptr<Start> start(
        new Start{shared_from_this(), std::move(direction), std::move(conduct),
                  std::make_shared<KCSDKPlayerViewModel>(ondemandClass), std::move(parentView),
                  std::move(customOverlay)},
        [mainQueue](Start* done) { mainQueue->async([done] { delete done; }); });
    start->direction->manager->operations().perform(
        ondemandClass->tag,
        [start, mainQueue](Outcome<std::shared_ptr<KCSDKOndemandClass>> outcome) {
            mainQueue->async([start, outcome = std::move(outcome)] {
                if (start->conduct && start->conduct->isOver()) return;
                auto& to = *start->direction;
                to.answered();
                if (!outcome) return to.done(outcome.failure());
                if (to.endsWithoutStream) {
                    if (auto failure = missingStream(**outcome)) return to.done(*failure);
                }
                start->builder->show(*start, *outcome);
            });
        },
        start->conduct);
}

void KCSDKVideoViewBuilder::show(Start& start, std::shared_ptr<KCSDKOndemandClass> performed) {
    const bool fullScreen = !start.parentView;
    start.viewModel->ondemandContent = performed;
    classTitle = performed->className;
    isFullScreenEnabled = fullScreen;

    const auto view = platform::make<KCSDKPlayerView>(Device::current(), start.direction->manager);
    view->setBackgroundColor(UIColor::black());
    view->setViewModel(start.viewModel);
    view->classTag = performed->tag;
    view->setTokenPrefetch(start.direction->tokens);
    const auto stream = streamOf(*performed);
    if (isProtected(stream)) {
        view->loadProtectedVideo(stream);
    } else {
        view->loadVideo(stream);
    }

    const auto overlay = view->addOverlay(start.overlayView);
    auto* const styled = start.overlayView ? nullptr : overlay.get();
    if (styled) style(*styled);
    begin(*view, styled);

    KCSDK::shared().enablefullscreenVideo = fullScreen;
    const auto controller = makeController(start, view);
    if (fullScreen) {
        if (const auto top = topViewControllerOfKeyWindow()) top->present(controller, true);
        controller->setOwnsItself(!controller->presentingViewController());
    } else {
        start.parentView->addSubview(controller->view());
        pin(controller->view(), start.parentView);
        start.parentView->keep(controller);
    }
    start.direction->done(platform::make<KCSDKPlayerEvents>(controller, start.parentView));
}

std::shared_ptr<KCSDKPlayerViewController> KCSDKVideoViewBuilder::makeController(
    const Start& start, const std::shared_ptr<KCSDKPlayerView>& view) {
    auto controller = KCSDKPlayerViewController::instantiate(Device::current(), shared_from_this(),
                                                             start.viewModel);
    controller->view()->addSubview(view);
    controller->viewVideo = view;
    view->controller = controller;
    view->delegate = eventReceiver;
    pin(view, controller->view());
    view->closePlayerCallback =
        closeHandler(controller, start.viewModel, start.direction, start.parentView);
    return controller;
}

void KCSDKVideoViewBuilder::style(KCSDKPlayerOverlay& overlay) const {
    overlay.playImage = playImage;
    overlay.pauseImage = pauseImage;
    overlay.buttonColor = buttonColor;
    overlay.btnClose->setBackgroundImage(closeImage, UIControlState::normal);
    overlay.lblTitle->setTextColor(titleTextColor);
    overlay.lblTitle->setText(classTitle);
    overlay.lblTitle->setFont(titleFont);
    overlay.slider->setThumbImage(sdkImage(Device::current(), "thumb"), UIControlState::normal);
    if (closeButtonColor) overlay.btnClose->setTintColor(closeButtonColor);
    if (buttonColor) overlay.btnPlay->setTintColor(buttonColor);
    if (sliderMinTrackColor) overlay.slider->setMinimumTrackTintColor(sliderMinTrackColor);
    if (sliderMaxTrackColor) overlay.slider->setMaximumTrackTintColor(sliderMaxTrackColor);
    if (sliderThumbTintColor) overlay.slider->setThumbTintColor(sliderThumbTintColor);
    if (sliderTintColor) overlay.slider->setTintColor(sliderTintColor);
}

void KCSDKVideoViewBuilder::begin(KCSDKPlayerView& view, KCSDKPlayerOverlay* styled) const {
    if (autoPlay) {
        if (const auto player = view.player()) player->play();
    }
    if (!styled) return;
    styled->btnPlay->setBackgroundImage(autoPlay ? styled->pauseImage : styled->playImage,
                                        UIControlState::normal);
    styled->btnPlay->setTintColor(styled->buttonColor);
}

}  // namespace korvel
