#include "IO/disk_image_codecs.hpp"

#include <bzlib.h>
#include <lzma.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "support/sentences.hpp"

namespace vellmark {

namespace {

using Stored = std::span<const std::uint8_t>;
using Plain = std::span<std::uint8_t>;

/// A stream of a library takes some bytes and gives some.
struct Step {
    enum class State { GoesOn, Ended, Damaged, NoMemory } state = State::GoesOn;
    std::size_t taken = 0;
    std::size_t given = 0;
};

// The libraries count in 32 bits.
template <typename Count>
Count Clamped(std::size_t size) {
    return static_cast<Count>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

class ZlibStream {
  public:
    ZlibStream() : isReady_(inflateInit(&stream_) == Z_OK) {}
    ~ZlibStream() { (void)inflateEnd(&stream_); }
    ZlibStream(const ZlibStream&) = delete;
    ZlibStream& operator=(const ZlibStream&) = delete;

    Step step(Stored in, Plain out, bool) {
        if (!isReady_)
            return {Step::State::NoMemory};
        stream_.next_in = const_cast<Bytef*>(in.data());
        const uInt inSize = stream_.avail_in = Clamped<uInt>(in.size());
        stream_.next_out = out.data();
        const uInt outSize = stream_.avail_out = Clamped<uInt>(out.size());
        const int code = inflate(&stream_, Z_NO_FLUSH);
        const auto state = code == Z_STREAM_END                  ? Step::State::Ended
                           : code == Z_OK || code == Z_BUF_ERROR ? Step::State::GoesOn
                           : code == Z_MEM_ERROR                 ? Step::State::NoMemory
                                                                 : Step::State::Damaged;
        return {state, inSize - stream_.avail_in, outSize - stream_.avail_out};
    }

  private:
    z_stream stream_{};
    bool isReady_;
};

class Bzip2Stream {
  public:
    Bzip2Stream() : isReady_(BZ2_bzDecompressInit(&stream_, 0, 0) == BZ_OK) {}
    ~Bzip2Stream() { (void)BZ2_bzDecompressEnd(&stream_); }
    Bzip2Stream(const Bzip2Stream&) = delete;
    Bzip2Stream& operator=(const Bzip2Stream&) = delete;

    Step step(Stored in, Plain out, bool) {
        if (!isReady_)
            return {Step::State::NoMemory};
        // The library does not change what it reads.
        stream_.next_in = const_cast<char*>(reinterpret_cast<const char*>(in.data()));
        const unsigned inSize = stream_.avail_in = Clamped<unsigned>(in.size());
        stream_.next_out = reinterpret_cast<char*>(out.data());
        const unsigned outSize = stream_.avail_out = Clamped<unsigned>(out.size());
        const int code = BZ2_bzDecompress(&stream_);
        const auto state = code == BZ_STREAM_END  ? Step::State::Ended
                           : code == BZ_OK        ? Step::State::GoesOn
                           : code == BZ_MEM_ERROR ? Step::State::NoMemory
                                                  : Step::State::Damaged;
        return {state, inSize - stream_.avail_in, outSize - stream_.avail_out};
    }

  private:
    bz_stream stream_{};
    bool isReady_;
};

class LzmaStream {
  public:
    LzmaStream() : isReady_(lzma_stream_decoder(&stream_, kMostMemory, 0) == LZMA_OK) {}
    ~LzmaStream() { lzma_end(&stream_); }
    LzmaStream(const LzmaStream&) = delete;
    LzmaStream& operator=(const LzmaStream&) = delete;

    Step step(Stored in, Plain out, bool atEnd) {
        if (!isReady_)
            return {Step::State::NoMemory};
        stream_.next_in = in.data();
        stream_.avail_in = in.size();
        stream_.next_out = out.data();
        stream_.avail_out = out.size();
        const lzma_ret code = lzma_code(&stream_, atEnd ? LZMA_FINISH : LZMA_RUN);
        const auto state = code == LZMA_STREAM_END                     ? Step::State::Ended
                           : code == LZMA_OK || code == LZMA_BUF_ERROR ? Step::State::GoesOn
                           : code == LZMA_MEM_ERROR || code == LZMA_MEMLIMIT_ERROR
                               ? Step::State::NoMemory
                               : Step::State::Damaged;
        return {state, in.size() - stream_.avail_in, out.size() - stream_.avail_out};
    }

  private:
    /// Of what the stream asks for; it is used as far as the block is long.
    static constexpr std::uint64_t kMostMemory = 16 << 20;

    lzma_stream stream_ = LZMA_STREAM_INIT;
    bool isReady_;
};

template <typename Stream>
BlockEnd Run(StoredPieces& stored, PlainPieces& plain) {
    Stream stream;
    Stored in;
    bool atEnd = false;
    std::array<std::uint8_t, 1> beyond{};
    while (true) {
        if (in.empty() && !atEnd) {
            in = stored.next();
            atEnd = in.empty();
        }
        // A full block still has to come to the end of its stream, without a byte more.
        const Plain room = plain.room();
        const Step step = stream.step(in, room.empty() ? Plain(beyond) : room, atEnd);
        in = in.subspan(step.taken);
        if (step.given > 0 && room.empty())
            return BlockEnd::TooLong;
        if (step.given > 0 && !plain.put(step.given))
            return BlockEnd::Stopped;
        switch (step.state) {
            case Step::State::Ended:
                return BlockEnd::Done;
            case Step::State::Damaged:
                return BlockEnd::Damaged;
            case Step::State::NoMemory:
                return BlockEnd::NoMemory;
            case Step::State::GoesOn:
                break;
        }
        if (step.taken == 0 && step.given == 0 && (atEnd || !in.empty()))
            return atEnd ? BlockEnd::Cut : BlockEnd::Damaged;
    }
}

/// One match of Apple Data Compression.
struct Match {
    std::size_t length;
    std::size_t distance;
};

}  // namespace

Sentence BlockEndSentence(BlockEnd end) {
    switch (end) {
        case BlockEnd::Damaged:
            return Sentence::kBlockDamaged;
        case BlockEnd::Cut:
            return Sentence::kBlockCut;
        case BlockEnd::TooLong:
            return Sentence::kBlockExpandsTooFar;
        case BlockEnd::NoMemory:
            return Sentence::kBlockWantsMemory;
        case BlockEnd::Done:
        case BlockEnd::Stopped:
            break;
    }
    return Sentence::kNone;
}

BlockEnd ExpandStream(BlockType type, StoredPieces& stored, PlainPieces& plain) {
    return type == BlockType::Zlib    ? Run<ZlibStream>(stored, plain)
           : type == BlockType::Bzip2 ? Run<Bzip2Stream>(stored, plain)
                                      : Run<LzmaStream>(stored, plain);
}

AdcResult ExpandAdc(Stored stored, Plain plain, AdcMatch match) {
    AdcResult result;
    std::size_t at = 0;
    const auto left = [&] { return stored.size() - at; };
    const auto room = [&] { return plain.size() - result.length; };
    const auto ended = [&](BlockEnd end) {
        result.end = end;
        return result;
    };
    while (left() > 0) {
        const std::size_t control = stored[at++];
        if (control >= 0x80) {
            const std::size_t length = (control & 0x7F) + 1;
            if (length > left())
                return ended(BlockEnd::Cut);
            if (length > room())
                return ended(BlockEnd::TooLong);
            std::memcpy(&plain[result.length], &stored[at], length);
            at += length;
            result.length += length;
            continue;
        }
        const bool isLong = (control & 0x40) != 0;
        if (left() < (isLong ? 2U : 1U))
            return ended(BlockEnd::Cut);
        const Match found =
            isLong ? Match{(control & 0x3F) + 4, stored[at] * 256U + stored[at + 1] + 1}
                   : Match{(control >> 2) + 3, (control & 3) * 256U + stored[at] + 1};
        at += isLong ? 2 : 1;
        if (found.distance > result.length)
            return ended(BlockEnd::Damaged);
        if (found.length > room())
            return ended(BlockEnd::TooLong);
        const bool overlaps = found.distance > 1 && found.distance < found.length;
        result.isAmbiguous = result.isAmbiguous || overlaps;
        std::uint8_t* to = &plain[result.length];
        const std::uint8_t* from = to - found.distance;
        if (found.distance == 1 || (overlaps && match == AdcMatch::Fill))
            std::memset(to, *from, found.length);
        else if (overlaps)
            for (std::size_t i = 0; i < found.length; ++i)
                to[i] = from[i];
        else
            std::memcpy(to, from, found.length);
        result.length += found.length;
    }
    return result;
}

}  // namespace vellmark
