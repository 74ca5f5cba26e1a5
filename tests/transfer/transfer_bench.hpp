// What the tests of copying share: a volume beside a folder of the PC, and containers made by hand
// after their published formats.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "containers/codec_bench.hpp"
#include "containers/signatures.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark::testing {

/// A small volume of each format.
class TransferTest : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        ASSERT_TRUE(volume_.open(path_));
        std::filesystem::create_directory(pc());
        messages_.answer = Answer::Yes;
        messages_.confirms = true;
    }
    /// The folder of the PC, or a file in it.
    [[nodiscard]] std::string pc(const std::string& name = "") const {
        return folder_.path() + "/pc" + (name.empty() ? "" : "/" + name);
    }
    const bool isHfsPlus_ = GetParam();
    TemporaryFolder folder_;
    const std::string path_ = FormatSmall(folder_, isHfsPlus_);
    TestVolume volume_;
    KeptMessages messages_;
    StoppingProgress progress_;
    const SignatureTable signatures_ =
        SignatureTable::Parse("TXT,TEXTttxt,\r\nHQX,TEXTBnHq,\r\n", false);
};

}  // namespace vellmark::testing
