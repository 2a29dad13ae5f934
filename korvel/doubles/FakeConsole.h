#pragma once

#include <korvel/doubles/Journal.h>

#include <korvel/platform/foundation/Console.h>

#include <memory>

namespace korvel::doubles {

/// Keeps the lines, in a journal of other fakes too. Any thread.
class FakeConsole final : public platform::Console, public Journal {
public:
    explicit FakeConsole(std::shared_ptr<Journal> common = std::make_shared<Journal>())
        : common_(std::move(common)) {}

    void print(std::string_view line) override {
        common_->add(std::string(line));
        add(std::string(line));
    }

private:
    const std::shared_ptr<Journal> common_;
};

}  // namespace korvel::doubles
