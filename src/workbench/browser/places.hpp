// The places of the PC that a desktop knows.
#pragma once

#include <QString>
#include <QStyle>
#include <vector>

#include "support/texts.hpp"

namespace vellmark {

struct Place {
    QString name;
    QString path;
    QStyle::StandardPixmap picture;
};

/// The person's own folders that are there, the root, and what is mounted for people to use. No
/// medium is touched: one that does not answer would hold the window up.
[[nodiscard]] std::vector<Place> DesktopPlaces(Language language);

}  // namespace vellmark
