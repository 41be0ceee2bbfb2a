#include "maker/MediaDecode/MediaDecode.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace {

struct FormatCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct CodecFreer {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct PacketFreer {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameFreer {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct ResamplerFreer {
    void operator()(SwrContext* context) const { swr_free(&context); }
};

std::string tag(const AVDictionary* metadata, const char* key)
{
    const AVDictionaryEntry* entry = av_dict_get(metadata, key, nullptr, 0);
    return entry != nullptr && entry->value != nullptr ? std::string(entry->value) : std::string();
}

// Tags live on the container (ID3, ASF) or on the stream (Vorbis comments).
std::string tagOf(const AVFormatContext* format, const AVStream* stream, const char* key)
{
    std::string value = tag(format->metadata, key);
    if (value.empty() && stream != nullptr)
        value = tag(stream->metadata, key);
    return value;
}

void put(std::string& out, std::uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

std::string waveHeader(int rate, int channels, std::uint32_t dataBytes)
{
    std::string header = "RIFF";
    put(header, 36 + dataBytes, 4);
    header += "WAVEfmt ";
    put(header, 16, 4);
    put(header, 1, 2);
    put(header, static_cast<std::uint32_t>(channels), 2);
    put(header, static_cast<std::uint32_t>(rate), 4);
    put(header, static_cast<std::uint32_t>(rate * channels * 2), 4);
    put(header, static_cast<std::uint32_t>(channels * 2), 2);
    put(header, 16, 2);
    header += "data";
    put(header, dataBytes, 4);
    return header;
}

int decode(const char* sourcePath, const char* targetPath, MediaInfo* info)
{
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, sourcePath, nullptr, nullptr) != 0)
        return kMediaNotMedia;
    std::unique_ptr<AVFormatContext, FormatCloser> format(opened);
    // Reading ahead to learn the streams costs as much as decoding a short
    // file; a header that already says what the sound is (WAV, most MP3,
    // Ogg and ASF files) is taken at its word.
    const int known = av_find_best_stream(format.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    const AVCodecParameters* said = known >= 0 ? format->streams[known]->codecpar : nullptr;
    const bool complete = said != nullptr && said->codec_id != AV_CODEC_ID_NONE && said->sample_rate > 0
                          && said->ch_layout.nb_channels > 0 && said->format >= 0 && format->duration > 0;
    if (!complete && avformat_find_stream_info(format.get(), nullptr) < 0)
        return kMediaNotMedia;

    const int soundIndex = av_find_best_stream(format.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    const AVStream* sound = soundIndex >= 0 ? format->streams[soundIndex] : nullptr;
    MediaInfo found;
    found.title = tagOf(format.get(), sound, "title");
    found.artist = tagOf(format.get(), sound, "artist");
    found.album = tagOf(format.get(), sound, "album");
    for (const char* key : {"date", "creation_time", "year"})
        if (found.date.empty())
            found.date = tagOf(format.get(), sound, key);
    if (format->duration > 0)
        found.durationMs = format->duration / (AV_TIME_BASE / 1000);
    for (unsigned i = 0; i < format->nb_streams; ++i)
        if (format->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO
            && (format->streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0)
            found.hasVideo = true;
    found.hasSound = sound != nullptr;
    if (info != nullptr)
        *info = found;
    if (sound == nullptr)
        return found.hasVideo ? kMediaNoSound : kMediaNotMedia;

    const AVCodec* codec = avcodec_find_decoder(sound->codecpar->codec_id);
    if (codec == nullptr)
        return kMediaDamaged;
    std::unique_ptr<AVCodecContext, CodecFreer> decoder(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), sound->codecpar) < 0
        || avcodec_open2(decoder.get(), codec, nullptr) < 0 || decoder->sample_rate <= 0)
        return kMediaDamaged;

    const int rate = decoder->sample_rate;
    const int channels = decoder->ch_layout.nb_channels >= 2 ? 2 : 1;
    AVChannelLayout outLayout;
    av_channel_layout_default(&outLayout, channels);
    if (decoder->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&decoder->ch_layout, decoder->ch_layout.nb_channels > 0 ? decoder->ch_layout.nb_channels : 1);
    SwrContext* made = nullptr;
    if (swr_alloc_set_opts2(&made, &outLayout, AV_SAMPLE_FMT_S16, rate, &decoder->ch_layout, decoder->sample_fmt,
                            rate, 0, nullptr) < 0)
        return kMediaDamaged;
    std::unique_ptr<SwrContext, ResamplerFreer> resampler(made);
    if (swr_init(resampler.get()) < 0)
        return kMediaDamaged;

    std::FILE* out = std::fopen(targetPath, "wb");
    if (out == nullptr)
        return kMediaWriteFailed;
    bool written = std::fwrite(waveHeader(rate, channels, 0).data(), 1, 44, out) == 44;
    std::uint64_t dataBytes = 0;
    std::vector<std::uint8_t> buffer;
    std::unique_ptr<AVPacket, PacketFreer> packet(av_packet_alloc());
    std::unique_ptr<AVFrame, FrameFreer> frame(av_frame_alloc());
    int badPackets = 0;
    int packets = 0;

    auto drain = [&]() {
        while (avcodec_receive_frame(decoder.get(), frame.get()) == 0) {
            const int room = swr_get_out_samples(resampler.get(), frame->nb_samples);
            buffer.resize(static_cast<std::size_t>(room > 0 ? room : 0) * static_cast<std::size_t>(channels) * 2);
            std::uint8_t* planes[] = {buffer.data()};
            const int got = swr_convert(resampler.get(), planes, room, const_cast<const std::uint8_t**>(frame->extended_data),
                                        frame->nb_samples);
            if (got > 0) {
                const std::size_t bytes = static_cast<std::size_t>(got) * static_cast<std::size_t>(channels) * 2;
                written = written && std::fwrite(buffer.data(), 1, bytes, out) == bytes;
                dataBytes += bytes;
            }
            av_frame_unref(frame.get());
        }
    };
    while (written && av_read_frame(format.get(), packet.get()) >= 0) {
        if (packet->stream_index == soundIndex) {
            ++packets;
            if (avcodec_send_packet(decoder.get(), packet.get()) < 0)
                ++badPackets;
            drain();
        }
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(decoder.get(), nullptr);
    drain();
    // What the resampler still holds.
    const int tail = swr_get_out_samples(resampler.get(), 0);
    if (tail > 0) {
        buffer.resize(static_cast<std::size_t>(tail) * static_cast<std::size_t>(channels) * 2);
        std::uint8_t* planes[] = {buffer.data()};
        const int got = swr_convert(resampler.get(), planes, tail, nullptr, 0);
        if (got > 0) {
            const std::size_t bytes = static_cast<std::size_t>(got) * static_cast<std::size_t>(channels) * 2;
            written = written && std::fwrite(buffer.data(), 1, bytes, out) == bytes;
            dataBytes += bytes;
        }
    }

    // A track most of whose packets fail, or that gives no sound, is damaged;
    // a stray bad frame in a long file is not worth refusing it for.
    const bool damaged = dataBytes == 0 || badPackets * 4 > packets;
    if (written && !damaged && dataBytes <= 0xFFFFFFFFull - 36) {
        const std::string header = waveHeader(rate, channels, static_cast<std::uint32_t>(dataBytes));
        written = std::fseek(out, 0, SEEK_SET) == 0 && std::fwrite(header.data(), 1, header.size(), out) == header.size();
    }
    written = std::fclose(out) == 0 && written;
    if (damaged || !written || dataBytes > 0xFFFFFFFFull - 36) {
        std::remove(targetPath);
        return damaged ? kMediaDamaged : kMediaWriteFailed;
    }
    return kMediaOk;
}

}  // namespace

int MediaDecodeToWave(const char* sourcePath, const char* targetPath, MediaInfo* info)
{
    if (sourcePath == nullptr || targetPath == nullptr)
        return kMediaNotMedia;
    try {
        return decode(sourcePath, targetPath, info);
    } catch (...) {
        std::remove(targetPath);
        return kMediaWriteFailed;
    }
}

const char* MediaDecodeReason(int code)
{
    switch (code) {
    case kMediaOk: return "no error";
    case kMediaNotMedia: return "it cannot be read or is not a sound or video file";
    case kMediaNoSound: return "it has no sound track";
    case kMediaDamaged: return "its sound cannot be decoded: the file is damaged";
    case kMediaWriteFailed: return "the decoded sound cannot be written (is the disk full?)";
    default: return "unknown error";
    }
}
