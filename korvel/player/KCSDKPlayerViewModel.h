#pragma once

#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/platform/foundation/Object.h>

#include <memory>
#include <utility>

namespace korvel {

/// The class being played. Main queue.
class KORVEL_API KCSDKPlayerViewModel : public platform::Object {
public:
    /// `content`: not null.
    explicit KCSDKPlayerViewModel(std::shared_ptr<KCSDKOndemandClass> content)
        : ondemandContent(std::move(content)) {}

    std::shared_ptr<KCSDKOndemandClass> ondemandContent;  ///< never null
};

}  // namespace korvel
