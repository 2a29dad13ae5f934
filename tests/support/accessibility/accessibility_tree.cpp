// Prints what a screen reader finds in the programs on the accessibility bus; Tree.h tells how to
// use it. usage: accessibility_tree [--process ID] [--do ACTION NAME]

#include <atspi/atspi.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

template <class T> std::shared_ptr<T> owned(T* object) {
    return {object, [](T* held) { g_clear_object(&held); }};
}
using Place = std::shared_ptr<AtspiAccessible>;

/// Those that say something to a reader.
constexpr AtspiStateType states[] = {
    ATSPI_STATE_BUSY,      ATSPI_STATE_CHECKED,  ATSPI_STATE_EDITABLE, ATSPI_STATE_EXPANDED,
    ATSPI_STATE_FOCUSABLE, ATSPI_STATE_FOCUSED,  ATSPI_STATE_MODAL,    ATSPI_STATE_PRESSED,
    ATSPI_STATE_SELECTED,  ATSPI_STATE_CHECKABLE};

std::string taken(gchar* text) {
    const std::unique_ptr<gchar, void (*)(gpointer)> freed(text, g_free);
    return text ? text : "";
}
std::string name(const Place& place) {
    return taken(atspi_accessible_get_name(place.get(), nullptr));
}
std::vector<Place> children(const Place& place) {
    std::vector<Place> all;
    const int count = atspi_accessible_get_child_count(place.get(), nullptr);
    for (int i = 0; i < count; ++i) {
        auto* const child = atspi_accessible_get_child_at_index(place.get(), i, nullptr);
        if (child) all.push_back(owned(child));
    }
    return all;
}
std::vector<std::string> actions(const Place& place) {
    const auto offered = owned(atspi_accessible_get_action_iface(place.get()));
    const int count = offered ? atspi_action_get_n_actions(offered.get(), nullptr) : 0;
    std::vector<std::string> names(static_cast<std::size_t>(std::max(count, 0)));
    for (int i = 0; auto& each : names) {
        each = taken(atspi_action_get_action_name(offered.get(), i++, nullptr));
    }
    return names;
}

void printAll(const Place& place, int depth) {
    const auto now = owned(atspi_accessible_get_state_set(place.get()));
    const auto has = [&](AtspiStateType each) { return atspi_state_set_contains(now.get(), each); };
    if (depth > 0 && !(has(ATSPI_STATE_VISIBLE) && has(ATSPI_STATE_SHOWING))) return;
    std::cout << std::string(2 * static_cast<std::size_t>(depth), ' ')
              << taken(atspi_accessible_get_role_name(place.get(), nullptr)) << " \"" << name(place)
              << '"';
    const auto description = taken(atspi_accessible_get_description(place.get(), nullptr));
    if (!description.empty()) std::cout << " \"" << description << '"';
    if (const auto value = owned(atspi_accessible_get_value_iface(place.get()))) {
        std::cout << ' ' << atspi_value_get_current_value(value.get(), nullptr) << " of "
                  << atspi_value_get_minimum_value(value.get(), nullptr) << " to "
                  << atspi_value_get_maximum_value(value.get(), nullptr);
    }
    g_autoptr(GEnumClass) words = G_ENUM_CLASS(g_type_class_ref(ATSPI_TYPE_STATE_TYPE));
    for (const auto state : states) {
        if (has(state)) std::cout << ' ' << g_enum_get_value(words, state)->value_nick;
    }
    if (!has(ATSPI_STATE_ENABLED)) std::cout << " disabled";
    const char* before = " does ";
    for (const auto& action : actions(place)) std::cout << std::exchange(before, " ") << action;
    std::cout << '\n';
    for (const auto& child : children(place)) printAll(child, depth + 1);
}

bool act(const Place& place, const std::string& action, const std::string& wanted) {
    const auto offered = actions(place);
    const auto found = std::ranges::find(offered, action);
    if (found != offered.end() && name(place) == wanted) {
        const auto doer = owned(atspi_accessible_get_action_iface(place.get()));
        return atspi_action_do_action(doer.get(), static_cast<int>(found - offered.begin()),
                                      nullptr);
    }
    return std::ranges::any_of(children(place),
                               [&](const auto& child) { return act(child, action, wanted); });
}

/// On the bus, those of that process; 0: all.
std::vector<Place> programs(guint process) {
    const auto desktop = owned(atspi_get_desktop(0));
    atspi_accessible_set_cache_mask(desktop.get(), ATSPI_CACHE_NONE);
    auto all = children(desktop);
    std::erase_if(all, [&](const auto& each) {
        return process != 0 && atspi_accessible_get_process_id(each.get(), nullptr) != process;
    });
    return all;
}

}  // namespace

int main(int count, char** words) {
    const auto after = [&](const std::string& option, int by) -> std::string {
        const auto* const found = std::find(words, words + count, option);
        return words + count - found > by ? found[by] : "";
    };
    if (atspi_init() != 0) {
        std::cerr << "no accessibility bus\n";
        return 1;
    }
    atspi_set_timeout(5000, 0);
    const auto process = static_cast<guint>(std::atoi(after("--process", 1).c_str()));
    auto found = programs(process);
    // A program that has just started may not have told the registry yet.
    for (int tries = 50; found.empty() && tries > 0; --tries) {
        g_usleep(100'000);
        found = programs(process);
    }
    const auto action = after("--do", 1);
    bool done = !found.empty();
    std::cout.precision(3);
    for (const auto& program : found) {
        atspi_accessible_set_cache_mask(program.get(), ATSPI_CACHE_NONE);
        if (!action.empty()) done = act(program, action, after("--do", 2)) && done;
        printAll(program, 0);
    }
    return done ? 0 : 1;
}
