// Resources of the tree saved as files.
#pragma once

#include "inspect/resource_export.hpp"
#include "workbench/inspect/segment_dialog.hpp"

namespace vellmark {

/// The resources of a fork and what saving them needs.
struct ResourceSaving {
    TVellmark& window;
    QWidget* owner;
    const RunLook& look;
    ByteSource& fork;
    const ResourceTree& tree;
    PageStyle style;
};

/// Asks for a name and saves one resource.
void SaveResource(const ResourceSaving& saving, const ResourceType& type, const Resource& resource,
                  ResourceForm form);
/// Asks for a folder and saves all of them there, a file for each.
void SaveAllResources(const ResourceSaving& saving, ResourceForm form);

}  // namespace vellmark
