// Joining at a terminal: what a person is asked, and that a script is not.
#include "session/reading_bench.hpp"

namespace vellmark {
namespace {

using test::Write;

class VerbJoinTest : public test::ReadingTest {};

// Catches questions that nobody hears, and answers that change nothing.
TEST_F(VerbJoinTest, AFileOfAnotherKindIsJoinedWhenThePersonSaysSo) {
    asks_ = false;
    ASSERT_EQ(run({"format", "v.img", "--size", "1", "--label", "V", "-q"}), 0) << err_;
    const std::string disc = std::string(1536, '\0') + test::Pattern(40'000);
    const struct {
        const char* name;
        bool asks;
        const char* typed;
        int status;
        const char* told;
    } cases[] = {{"a script", false, "y\n", 1, "d.iso is not an ISO 9660 image file"},
                 {"no", true, "n\n", 1, "Continue?"},
                 {"the end of the input", true, "", 1, "Continue?"},
                 {"yes", true, "y\n", 0, "Continue?"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Write("d.iso", disc);
        asks_ = c.asks;
        typed_ = c.typed;
        EXPECT_EQ(run({"join", "d.iso", "v.img"}), c.status) << err_;
        EXPECT_NE(err_.find(c.told), std::string::npos) << err_;
        EXPECT_EQ(test::Bytes("d.iso") == disc, c.status != 0);
    }
    asks_ = false;
    EXPECT_EQ(run({"label", "d.iso"}), 0) << err_;
    EXPECT_EQ(out_, "V\n");
}

}  // namespace
}  // namespace vellmark
