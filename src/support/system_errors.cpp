#include <cerrno>
#include <system_error>

#include "support/reason.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

struct Row {
    int error;
    Sentence sentence;
};

// What a person meets. The system's own words depend on which languages it was given, so all others
// are shown in English.
constexpr Row kRows[] = {
    // What a file says that is locked.
    {EWOULDBLOCK, Sentence::kFileInUse},
    {ENOENT, Sentence::kSystemNoent},
    {EACCES, Sentence::kSystemAcces},
    {EPERM, Sentence::kSystemPerm},
    {EEXIST, Sentence::kSystemExist},
    {ENOTDIR, Sentence::kSystemNotdir},
    {EISDIR, Sentence::kSystemIsdir},
    {ENOSPC, Sentence::kSystemNospc},
    {EDQUOT, Sentence::kSystemDquot},
    {EROFS, Sentence::kSystemRofs},
    {EIO, Sentence::kSystemIo},
    {ENXIO, Sentence::kSystemNxio},
    {ENODEV, Sentence::kSystemNodev},
    {EBUSY, Sentence::kSystemBusy},
    {EFBIG, Sentence::kSystemFbig},
    {ETXTBSY, Sentence::kSystemTxtbsy},
    {ENAMETOOLONG, Sentence::kSystemNametoolong},
    {ELOOP, Sentence::kSystemLoop},
    {EMFILE, Sentence::kSystemMfile},
    {ENFILE, Sentence::kSystemNfile},
    {ENOMEM, Sentence::kSystemNomem},
    {EINVAL, Sentence::kSystemInval},
    {EXDEV, Sentence::kSystemXdev},
    {ENOTEMPTY, Sentence::kSystemNotempty},
    {EMLINK, Sentence::kSystemMlink},
    {EPIPE, Sentence::kSystemPipe},
    {ESTALE, Sentence::kSystemStale},
    {EOVERFLOW, Sentence::kSystemOverflow},
    {ENOTSUP, Sentence::kSystemNotsup},
    {EINTR, Sentence::kSystemIntr},
    {ENOTTY, Sentence::kSystemNotty},
    {ESPIPE, Sentence::kSystemSpipe},
    {EBADF, Sentence::kSystemBadf},
    {ENOSYS, Sentence::kSystemNosys},
};

}  // namespace

std::string SystemErrorText(int error, Language language) {
    for (const Row& row : kRows)
        if (row.error == error)
            return std::string(SentenceText(row.sentence, language));
    return error != 0 ? std::generic_category().message(error) : std::string{};
}

}  // namespace vellmark
