#include "session/volume_options.hpp"

namespace vellmark {

void AddPartitionNumber(OptionSet& arguments, std::optional<unsigned>& partition) {
    arguments.add(option::kPartition, partition);
}

void AddVolumeOptions(OptionSet& arguments, VolumeOptions& options) {
    arguments.add(option::kImage, options.image).required();
    AddPartitionNumber(arguments, options.partition);
    arguments.flag("-w,--writable", options.writable, Sentence::kHelpWritable);
}

OpenRequest RequestOf(const VolumeOptions& options, const std::string& path,
                      const std::string& name) {
    OpenRequest request;
    request.path = path;
    request.writable = options.writable;
    request.partition = options.partition;
    request.unlocks = options.unlocks;
    request.name = name;
    return request;
}

}  // namespace vellmark
