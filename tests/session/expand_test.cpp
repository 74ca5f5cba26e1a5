// A compressed image on a terminal: what is asked, and what becomes of the answers.
#include "reading/reading_bench.hpp"

// Behind the others, which know only one namespace called testing.
#include "IO/disk_image_maker.hpp"

namespace vellmark {
namespace {

using test::Write;

class CompressedImageTest : public test::ReadingTest {
  protected:
    CompressedImageTest() {
        asks_ = false;
        EXPECT_EQ(run({"format", "v.img", "--size", "1", "--label", "V", "-q"}), 0) << err_;
        plain_ = test::Bytes("v.img");
        Write("d.dmg", Made(plain_));
        asks_ = true;
    }
    static std::string Made(const std::string& plain) {
        const testing::Bytes image =
            testing::ImageMaker()
                .table({testing::BlockOf(testing::kZlibBlock, testing::BytesOf(plain))})
                .make();
        return {image.begin(), image.end()};
    }
    int type(const std::string& typed, const std::vector<std::string>& arguments) {
        typed_ = typed;
        return run(arguments);
    }
    std::string plain_;
};

TEST_F(CompressedImageTest, IsExpandedAndKeptAsThePersonWants) {
    const struct {
        std::string typed;
        std::vector<std::string> line;
        int status;
        std::string kept;     // name of the plain image that is there afterwards
        std::string heading;  // in the errors
    } cases[] = {
        {"n\n", {"label", "d.dmg"}, 1, "", "Image d.dmg is compressed. Do you want to uncompress"},
        {"", {"label", "d.dmg"}, 1, "", "Do you want to uncompress"},
        {"y\nn\n", {"label", "d.dmg"}, 0, "", "Do you want to save the uncompressed image?"},
        {"y\ny\n\n", {"ls", "d.dmg"}, 0, "d.img", "Name for d.img?"},
        {"y\ny\nd.img\n", {"ls", "d.dmg"}, 1, "d.img", "d.img exists already on the medium"},
        {"y\ny\nd.img\nn\nother\n", {"ls", "d.dmg"}, 0, "other", "Name for d.img?"},
        {"y\ny\nd.img\ny\n", {"ls", "d.dmg"}, 0, "d.img", "Do you want to overwrite it?"},
        {"y\ny\nd.dmg\n", {"ls", "d.dmg"}, 1, "", "d.dmg is the compressed image itself"},
        {"y\ny\nother\ny\n", {"label", "d.dmg", "New"}, 0, "other", ""},
        {"y\nn\n", {"label", "d.dmg", "New"}, 1, "", "the verb expand makes a plain image"},
    };
    const std::string image = test::Bytes("d.dmg");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed + c.line[0]);
        EXPECT_EQ(type(c.typed, c.line), c.status) << err_;
        EXPECT_NE(err_.find(c.heading), std::string::npos) << err_;
        if (!c.kept.empty()) {
            EXPECT_EQ(test::Bytes(c.kept).size(), plain_.size());
        }
        EXPECT_TRUE(test::Bytes("d.dmg") == image);
    }
    EXPECT_TRUE(test::Bytes("d.img") == plain_);
    EXPECT_EQ(run({"label", "other"}), 0);
    EXPECT_EQ(out_, "New\n") << "the image that was kept is the one that was changed";
}

TEST_F(CompressedImageTest, WhatItHoldsIsLookedAtAgain) {
    asks_ = false;
    const struct {
        std::string plain;
        const char* reason;
    } cases[] = {{"sprs" + std::string(4092, 'a'), "d.dmg: It is a sparse disk image"},
                 {Made(plain_), "d.dmg: It is a compressed disk image"},
                 {std::string(4096, 'a'), "d.dmg: It holds no ISO 9660 tree"}};
    for (const auto& c : cases) {
        std::string plain = c.plain;
        plain.insert(plain.size() - std::min<std::size_t>(plain.size(), 512),
                     (512 - plain.size() % 512) % 512, '\0');
        Write("d.dmg", Made(plain));
        EXPECT_EQ(run({"ls", "d.dmg"}), 1);
        EXPECT_NE(err_.find(c.reason), std::string::npos) << err_;
    }
}

}  // namespace
}  // namespace vellmark
