#include "platform/linux/media/LinuxMediaProbe.h"

#include "platform/linux/media/FormatCodes.h"
#include "platform/linux/media/ImageDescriptions.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/log.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <mutex>
#include <vector>

namespace vt {

namespace {

constexpr std::size_t largestAllocation = 256U << 20U; // a hostile index may ask for gigabytes
constexpr int bufferSize = 32 << 10;

// What a movie player opens. Playlists and image sequences, which name further files, are not among them.
constexpr const char* demuxers = "mov,mp4,m4a,3gp,3g2,mj2,avi,wav,aiff,au,aac,mp3,amr,ac3";
// Only these decoders are ever opened, to learn a picture's size or a rate that the container does not tell.
constexpr const char* decoders = "h264,mpeg4,h263,mjpeg,png,aac,mp3float,mp3,amrnb,ac3";

// The average counts the gaps at the ends of a short file in; the even rate of the packets is nearer where both agree
// roughly, and meaningless where the rate varies.
double shownRate(const AVStream& stream) {
    constexpr double roughly = 0.1;
    const double average = stream.avg_frame_rate.den > 0 ? av_q2d(stream.avg_frame_rate) : 0;
    const double even = stream.r_frame_rate.den > 0 ? av_q2d(stream.r_frame_rate) : 0;
    if (average <= 0) return std::max(even, 0.0);
    return std::abs(even - average) <= roughly * average ? even : average;
}

// In units of AV_TIME_BASE: the container's own duration, else that of its longest track; 0 where nothing tells it.
std::int64_t shownDuration(const AVFormatContext& format) {
    std::int64_t duration = std::max<std::int64_t>(format.duration, 0);
    if (duration > 0) return duration;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream& stream = *format.streams[i];
        if (stream.duration > 0 && stream.time_base.num > 0)
            duration = std::max(duration, av_rescale_q(stream.duration, stream.time_base, AV_TIME_BASE_Q));
    }
    return duration;
}

// One look at one file: the demuxer's context over the bytes that are there.
class Look {
  public:
    explicit Look(MediaFileBytes& file)
        : _file(file), _start(Clock::now()),
          _deadline(_start + std::min<std::chrono::nanoseconds>(file.budget().look, file.timeLeft())) {}
    ~Look() {
        _file.spend(Clock::now() - _start);
        avformat_close_input(&_format);
        if (_io != nullptr) av_freep(&_io->buffer);
        avio_context_free(&_io);
    }
    Look(const Look&) = delete;
    Look& operator=(const Look&) = delete;

    [[nodiscard]] Result<MediaDescription> describe();

  private:
    using Clock = std::chrono::steady_clock;
    [[nodiscard]] bool prepare();
    [[nodiscard]] bool isMovieFile() const { return std::string_view(_format->iformat->name).starts_with("mov,"); }
    void noteCounts();
    void readImages();
    // What the file's index says of a video track; null where it says nothing.
    [[nodiscard]] const ImageDescription* imageOf(const AVStream& stream) const;
    [[nodiscard]] bool isIncomplete() const;
    [[nodiscard]] bool mustStop() const { return _file.hasMissed() || isOutOfTime(); }
    [[nodiscard]] bool isOutOfTime() const { return Clock::now() >= _deadline; }
    [[nodiscard]] Error reason() const;
    [[nodiscard]] MediaTrack track(const AVStream& stream) const;

    static int read(void* look, std::uint8_t* to, int length);
    static std::int64_t seek(void* look, std::int64_t offset, int whence);
    static int interrupt(void* look) { return static_cast<Look*>(look)->mustStop() ? 1 : 0; }
    static int refuseSecondFile(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
        return AVERROR(EACCES);
    }

    MediaFileBytes& _file;
    const Clock::time_point _start;
    const Clock::time_point _deadline;
    std::uint64_t _position = 0;
    AVFormatContext* _format = nullptr;
    AVIOContext* _io = nullptr;
    struct Count {
        std::int64_t samples = 0;
        std::int64_t duration = 0; // in the stream's units
    };
    std::vector<Count> _counts; // of each stream, as the header tells them
    std::vector<ImageDescription> _images;
};

int Look::read(void* look, std::uint8_t* to, int length) {
    Look& self = *static_cast<Look*>(look);
    if (self.mustStop()) return AVERROR_EXIT;
    const auto count = self._file.copy(self._position, to, static_cast<std::size_t>(length));
    if (!count) return AVERROR_EXIT;
    if (*count == 0) return AVERROR_EOF;
    self._position += *count;
    return static_cast<int>(*count);
}

std::int64_t Look::seek(void* look, std::int64_t offset, int whence) {
    Look& self = *static_cast<Look*>(look);
    const auto size = static_cast<std::int64_t>(self._file.size());
    if ((whence & AVSEEK_SIZE) != 0) return size;
    std::int64_t base = 0;
    switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        base = static_cast<std::int64_t>(self._position);
        break;
    case SEEK_END:
        base = size;
        break;
    default:
        return AVERROR(EINVAL);
    }
    std::int64_t target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0) return AVERROR(EINVAL);
    self._position = static_cast<std::uint64_t>(target);
    return target;
}

bool Look::prepare() {
    _format = avformat_alloc_context();
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(bufferSize));
    if (buffer != nullptr) _io = avio_alloc_context(buffer, bufferSize, 0, this, &Look::read, nullptr, &Look::seek);
    if (_io == nullptr) av_free(buffer);
    if (_format == nullptr || _io == nullptr) return false;
    _format->pb = _io;
    _format->flags |= AVFMT_FLAG_CUSTOM_IO;
    _format->interrupt_callback = {&Look::interrupt, this};
    _format->io_open = &Look::refuseSecondFile;
    return true;
}

Error Look::reason() const {
    if (_file.hasMissed()) return Error::fromErrno(EAGAIN, _file.path());
    if (isOutOfTime()) return Error::fromErrno(ETIMEDOUT, _file.path());
    return Error{EINVAL, Disposition::skipItem, _file.path(), "not a movie"};
}

Result<MediaDescription> Look::describe() {
    if (!prepare()) return Error::fromErrno(ENOMEM, _file.path());
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", demuxers, 0);
    av_dict_set(&options, "codec_whitelist", decoders, 0);
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    av_dict_set(&options, "ignore_chapters", "1", 0);
    // A track's duration is that of its media: what an edit list hides counts as it counts among the samples.
    av_dict_set(&options, "ignore_editlist", "1", 0);
    av_dict_set(&options, "probesize", "1048576", 0);
    av_dict_set(&options, "analyzeduration", "1000000", 0);
    av_dict_set(&options, "max_streams", "256", 0);
    const int opened = avformat_open_input(&_format, nullptr, nullptr, &options);
    av_dict_free(&options);
    if (opened < 0 || mustStop()) return reason();
    noteCounts();
    if (isMovieFile()) readImages();
    if (mustStop()) return reason();
    if (isIncomplete()) {
        static_cast<void>(avformat_find_stream_info(_format, nullptr)); // what stays unknown stays 0
        if (mustStop()) return reason();
    }

    MediaDescription movie;
    movie.timeScale = AV_TIME_BASE;
    movie.duration = shownDuration(*_format);
    for (unsigned i = 0; i < _format->nb_streams; ++i) {
        const AVStream& stream = *_format->streams[i];
        if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) movie.tracks.push_back(track(stream));
    }
    return movie;
}

// A closer look replaces a duration that no packet confirms by that of the whole movie.
void Look::noteCounts() {
    for (unsigned i = 0; i < _format->nb_streams; ++i)
        _counts.push_back({_format->streams[i]->nb_frames, _format->streams[i]->duration});
}

void Look::readImages() {
    const auto readAll = [this](std::uint64_t offset, std::uint8_t* to, std::size_t length) {
        for (std::size_t filled = 0; filled < length;) {
            if (mustStop()) return false;
            const auto count = _file.copy(offset + filled, to + filled, length - filled);
            if (!count || *count == 0) return false;
            filled += *count;
        }
        return true;
    };
    _images = imageDescriptions(readAll, _file.size());
}

const ImageDescription* Look::imageOf(const AVStream& stream) const {
    const auto found = std::find_if(_images.begin(), _images.end(), [&stream](const ImageDescription& image) {
        return image.track == stream.id && image.width > 0 && image.height > 0;
    });
    return found == _images.end() ? nullptr : &*found;
}

// What the header alone does not tell for some containers.
bool Look::isIncomplete() const {
    if (_format->nb_streams == 0) return true;
    for (unsigned i = 0; i < _format->nb_streams; ++i) {
        const AVStream& stream = *_format->streams[i];
        const AVCodecParameters& codec = *stream.codecpar;
        if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) continue;
        if (codec.codec_type == AVMEDIA_TYPE_VIDEO &&
            ((imageOf(stream) == nullptr && (codec.width <= 0 || codec.height <= 0)) || stream.nb_frames <= 0 ||
             stream.duration <= 0))
            return true;
        if (codec.codec_type == AVMEDIA_TYPE_AUDIO && (codec.sample_rate <= 0 || codec.ch_layout.nb_channels <= 0))
            return true;
    }
    return false;
}

MediaTrack Look::track(const AVStream& stream) const {
    const AVCodecParameters& codec = *stream.codecpar;
    const std::string_view container = _format->iformat->name;
    MediaTrack track;
    if (codec.codec_type == AVMEDIA_TYPE_VIDEO) track.kind = MediaTrack::Kind::video;
    if (codec.codec_type == AVMEDIA_TYPE_AUDIO) track.kind = MediaTrack::Kind::sound;
    // The track header's flag, which only movie files have.
    track.enabled = !isMovieFile() || (stream.disposition & AV_DISPOSITION_DEFAULT) != 0;
    const ImageDescription* image = track.kind == MediaTrack::Kind::video ? imageOf(stream) : nullptr;
    track.format = image != nullptr ? movieFormatCode(image->format) : formatCode(codec, container);
    track.hasDescription = track.format.has_value();
    track.width = image != nullptr ? image->width : codec.width;
    track.height = image != nullptr ? image->height : codec.height;
    track.sampleRate = codec.sample_rate;
    track.channels = codec.ch_layout.nb_channels;
    if (stream.time_base.num > 0) track.timeScale = 1 / av_q2d(stream.time_base);
    const auto index = static_cast<std::size_t>(stream.index);
    Count count = index < _counts.size() ? _counts[index] : Count{};
    if (count.samples <= 0 || count.duration <= 0) count = {stream.nb_frames, stream.duration};
    track.displayDuration = std::max<std::int64_t>(count.duration, 0);
    track.sampleCount = static_cast<std::uint64_t>(std::max<std::int64_t>(count.samples, 0));
    if (track.sampleCount == 0 || track.displayDuration == 0) {
        // Not counted in the header: one second at the rate that the first packets show.
        const double rate = shownRate(stream);
        track.timeScale = rate;
        track.displayDuration = 1;
        track.sampleCount = rate > 0 ? 1 : 0;
    }
    return track;
}

} // namespace

LinuxMediaProbe::LinuxMediaProbe(const MediaBudget& budget) : _budget(budget) {
    static std::once_flag once;
    std::call_once(once, [] {
        av_log_set_level(AV_LOG_QUIET); // a broken file is an answer here, no event
        av_max_alloc(largestAllocation);
    });
}

Result<std::unique_ptr<MediaFile>> LinuxMediaProbe::open(const std::string& path) {
    return MediaFileBytes::open(path, _budget);
}

Result<MediaDescription> LinuxMediaProbe::describe(MediaFile& file) {
    return Look(static_cast<MediaFileBytes&>(file)).describe();
}

} // namespace vt
