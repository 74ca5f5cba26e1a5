// A resource as the picture or the texts that it is.
#pragma once

#include <QStackedWidget>

#include "inspect/shown_resource.hpp"
#include "support/texts.hpp"

class QPlainTextEdit;

namespace vellmark {

class PictureView;

class ResourceLook final : public QStackedWidget {
  public:
    ResourceLook(Language language, QWidget* owner);

    /// Shows it; what has no such look shows a sentence that says so.
    void show(const ShownResource& resource);
    /// Shows nothing, as no resource is selected.
    void clear();

  private:
    Language language_;
    PictureView* picture_;
    QPlainTextEdit* texts_;
};

}  // namespace vellmark
