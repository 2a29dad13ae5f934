#pragma once

#include <korvel/platform/foundation/Data.h>

#include <map>
#include <optional>
#include <string>

namespace korvel {

/// A "multipart/form-data" body of text fields. Names and values go in as they are: no escaping, no
/// type per part. The body ends in one more plain delimiter line, without the closing dashes: the
/// service has always been sent it so.
class KCSDKMultipartForm {
public:
    using TextFields = std::map<std::string, std::string>;

    KCSDKMultipartForm();

    /// "KorvelContentSDK.boundary." and sixteen random hexadecimal digits, new for each form.
    const std::string boundary;

    /// Zero bytes for no fields at all, the delimiter line alone for an empty map. A name or value
    /// that is not UTF-8 is left out, the text around it stays. The order of the fields means
    /// nothing.
    platform::Data body(const std::optional<TextFields>& fields) const;
};

}  // namespace korvel
