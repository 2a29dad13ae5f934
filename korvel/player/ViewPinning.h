#pragma once

#include <korvel/platform/uikit/UIView.h>

#include <memory>

namespace korvel {

/// The view takes the container's bounds and follows them by leading, trailing, height and centre
/// Y. Both must be in one tree already. Main queue.
void pin(const std::shared_ptr<platform::UIView>& view,
         const std::shared_ptr<platform::UIView>& container);

/// The same by centre X, centre Y, top, leading, trailing and bottom: for an overlay, all of whose
/// edges lie on the container's.
void pinEdges(const std::shared_ptr<platform::UIView>& view,
              const std::shared_ptr<platform::UIView>& container);

}  // namespace korvel
