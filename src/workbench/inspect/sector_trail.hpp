// The sectors that a person has been at, to go back and forth.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "workbench/inspect/viewed_file.hpp"

namespace vellmark {

struct ViewedPlace {
    ViewedFork fork = ViewedFork::None;
    std::uint64_t sector = 0;
    bool operator==(const ViewedPlace&) const = default;
};

class SectorTrail {
  public:
    /// Another place, by a jump. What lay ahead is forgotten.
    void jump(ViewedPlace to) {
        if (!places_.empty())
            places_.resize(at_ + 1);
        places_.push_back(to);
        at_ = places_.size() - 1;
    }
    /// Turning pages is no journey: the place itself moves.
    void step(ViewedPlace to) {
        if (places_.empty())
            jump(to);
        else
            places_[at_] = to;
    }
    [[nodiscard]] bool isEmpty() const { return places_.empty(); }
    /// The place itself, when there is one.
    [[nodiscard]] ViewedPlace here() const { return places_[at_]; }
    [[nodiscard]] bool hasBack() const { return at_ > 0; }
    [[nodiscard]] bool hasForward() const { return at_ + 1 < places_.size(); }
    /// The place before or behind, which there is.
    [[nodiscard]] ViewedPlace go(bool back) { return places_[back ? --at_ : ++at_]; }

  private:
    std::vector<ViewedPlace> places_;
    std::size_t at_ = 0;
};

}  // namespace vellmark
