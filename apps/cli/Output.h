#pragma once

#include "Table.h"

#include <korvel/platform/foundation/JSONEncoder.h>

#include <string>

namespace cli {

/// To standard output, at once; false if not all of it could be written. A reader that has seen
/// enough, such as "head", is no failure.
bool writeOut(const std::string& text);

/// Collects the result of a command, as text for people or as one JSON document, and writes it in
/// one go when the command is through.
class Output {
public:
    explicit Output(bool json);

    bool json() const { return json_; }

    /// `value` is what `JSONEncoder` takes; `asText(PageWidth)` words it for people.
    template <class T, class AsText> void show(const T& value, AsText asText) {
        if (json_) {
            text_ = korvel::platform::viewOf(encoder_.encode(value).value());
            text_ += '\n';
        } else {
            text_ = asText(page_);
        }
    }

    /// By `writeOut`.
    bool write() const;

private:
    const bool json_;
    const PageWidth page_;
    const korvel::platform::JSONEncoder encoder_;
    std::string text_;
};

}  // namespace cli
