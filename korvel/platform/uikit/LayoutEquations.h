#pragma once

#include <cstddef>
#include <vector>

namespace korvel::platform {

/// Linear equations in descending order of importance: one that contradicts earlier ones, or says
/// nothing new, is left out. Made for a dozen unknowns.
class LayoutEquations {
public:
    struct Equation {
        std::vector<double> factors;  ///< of each unknown
        double sum;
    };

    explicit LayoutEquations(std::size_t unknowns) : unknowns_(unknowns) {}

    Equation blank(double sum) const { return {std::vector<double>(unknowns_), sum}; }
    void add(Equation equation);
    void fix(std::size_t unknown, double value);
    /// Of every unknown; of those that nothing decides, 0.
    std::vector<double> solution() const;

private:
    struct Row {
        std::size_t pivot;  ///< the unknown that no other row has; its factor is 1
        Equation equation;
    };

    static void subtract(Equation& from, const Equation& what, double times);

    std::size_t unknowns_;
    std::vector<Row> rows_;
};

}  // namespace korvel::platform
