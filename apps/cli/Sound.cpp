#include "Sound.h"

#include <gst/gst.h>
#include <sys/mman.h>
#include <unistd.h>
#include <string_view>

namespace cli {

namespace {

/// What is written to standard error goes to a file in memory, as long as this lives.
class HeldBack {
public:
    HeldBack() : before_(dup(STDERR_FILENO)), held_(memfd_create("messages", MFD_CLOEXEC)) {
        dup2(held_, STDERR_FILENO);
    }
    ~HeldBack() {
        dup2(before_, STDERR_FILENO);
        close(before_);
        close(held_);
    }
    HeldBack(const HeldBack&) = delete;
    HeldBack& operator=(const HeldBack&) = delete;

    void letGo() const {
        lseek(held_, 0, SEEK_SET);
        char bytes[4096];
        for (ssize_t count = 0; (count = read(held_, bytes, sizeof bytes)) > 0;) {
            if (write(before_, bytes, static_cast<std::size_t>(count)) != count) return;
        }
    }

private:
    int before_;
    int held_;
};

/// An automatic sink that found nothing has put one into itself that does nothing.
bool isNothing(const GstElement* sink) {
    const auto* factory = gst_element_get_factory(const_cast<GstElement*>(sink));
    return factory && std::string_view(GST_OBJECT_NAME(factory)) == "fakesink";
}

bool isSilent(GstElement* sink) {
    if (!GST_IS_BIN(sink)) return isNothing(sink);
    for (const GList* each = GST_BIN_CHILDREN(sink); each; each = each->next) {
        if (!isNothing(GST_ELEMENT_CAST(each->data))) return false;
    }
    return true;
}

}  // namespace

bool canSound(const std::string& element, bool tellAll) {
    if (!gst_init_check(nullptr, nullptr, nullptr)) return true;  // the player says why not
    GstElement* sink = gst_element_factory_make(element.c_str(), nullptr);
    if (!sink) return true;
    const HeldBack messages;
    const bool opened = gst_element_set_state(sink, GST_STATE_READY) != GST_STATE_CHANGE_FAILURE;
    const bool sounds = opened && !isSilent(sink);
    gst_element_set_state(sink, GST_STATE_NULL);
    gst_object_unref(sink);
    if (sounds || tellAll) messages.letGo();
    return sounds;
}

}  // namespace cli
