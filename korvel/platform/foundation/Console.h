#pragma once

#include <korvel/platform/foundation/Export.h>

#include <functional>
#include <string_view>

namespace korvel::platform {

/// Where the SDK's diagnostic lines go. The device's own is standard output, one line per call,
/// never interleaved. Any thread.
class KORVEL_API Console {
public:
    virtual ~Console();
    virtual void print(std::string_view line) = 0;
};

class KORVEL_API StandardOutput final : public Console {
public:
    void print(std::string_view line) override;
};

/// Hands each line, without its end, to a function of the host's.
class KORVEL_API ConsoleFunction final : public Console {
public:
    using Line = std::function<void(std::string_view line)>;

    explicit ConsoleFunction(Line take);
    void print(std::string_view line) override;

private:
    const Line take_;
};

}  // namespace korvel::platform
