#include "maker/Ek7Conv/Ek7WmaConv.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <algorithm>

#include "maker/Ek7Conv/ConvertLoop.h"

namespace {

class WmaEncoder : public ek7conv::Encoder {
public:
    ~WmaEncoder() override { release(); }

    int begin(const ek7conv::SourceFormat& format, const std::string& path, const _Ek7Conv& settings) override
    {
        av_log_set_level(AV_LOG_ERROR);
        const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_WMAV2);
        if (codec == nullptr || format.rate > 48000)
            return kEk7ConvInitFailed;
        if (avformat_alloc_output_context2(&m_format, nullptr, "asf", path.c_str()) < 0 || m_format == nullptr)
            return kEk7ConvInitFailed;
        m_codec = avcodec_alloc_context3(codec);
        if (m_codec == nullptr)
            return kEk7ConvInitFailed;
        m_channels = format.channels;
        m_codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
        m_codec->sample_rate = format.rate;
        av_channel_layout_default(&m_codec->ch_layout, format.channels);
        m_codec->bit_rate =
            1000LL * (settings.kbps > 0 ? settings.kbps : Ek7ConvWmaKbps(format.rate, format.channels));
        m_codec->time_base = AVRational{1, format.rate};
        if (m_format->oformat->flags & AVFMT_GLOBALHEADER)
            m_codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        if (avcodec_open2(m_codec, codec, nullptr) < 0)
            return kEk7ConvInitFailed;
        m_stream = avformat_new_stream(m_format, nullptr);
        if (m_stream == nullptr || avcodec_parameters_from_context(m_stream->codecpar, m_codec) < 0)
            return kEk7ConvInitFailed;
        m_stream->time_base = m_codec->time_base;
        // The muxer names them in the file's own terms: title and author in
        // the content description, the date as WM/Year.
        if (!settings.title.empty())
            av_dict_set(&m_format->metadata, "title", settings.title.c_str(), 0);
        if (!settings.artist.empty())
            av_dict_set(&m_format->metadata, "artist", settings.artist.c_str(), 0);
        if (!settings.date.empty())
            av_dict_set(&m_format->metadata, "date", settings.date.c_str(), 0);
        if (avio_open(&m_format->pb, path.c_str(), AVIO_FLAG_WRITE) < 0)
            return kEk7ConvCreateFailed;
        if (avformat_write_header(m_format, nullptr) < 0)
            return kEk7ConvCreateFailed;
        m_frame = av_frame_alloc();
        m_packet = av_packet_alloc();
        if (m_frame == nullptr || m_packet == nullptr)
            return kEk7ConvInitFailed;
        m_frameSize = m_codec->frame_size > 0 ? m_codec->frame_size : 2048;
        return newFrame() ? 0 : kEk7ConvInitFailed;
    }

    int encode(const std::int16_t* samples, std::size_t frames) override
    {
        std::size_t at = 0;
        while (at < frames) {
            const std::size_t take = std::min(frames - at, static_cast<std::size_t>(m_frameSize - m_filled));
            for (int c = 0; c < m_channels; ++c) {
                auto* plane = reinterpret_cast<float*>(m_frame->data[c]) + m_filled;
                for (std::size_t i = 0; i < take; ++i)
                    plane[i] = samples[(at + i) * static_cast<std::size_t>(m_channels) + static_cast<std::size_t>(c)] /
                               32768.0f;
            }
            m_filled += static_cast<int>(take);
            at += take;
            if (m_filled == m_frameSize) {
                const int sent = send(m_frame);
                if (sent != 0)
                    return sent;
                if (!newFrame())
                    return kEk7ConvInitFailed;
            }
        }
        return 0;
    }

    int end(bool failed) override
    {
        int result = 0;
        if (!failed) {
            // The last short frame; the encoder pads it with silence.
            if (m_filled > 0) {
                m_frame->nb_samples = m_filled;
                result = send(m_frame);
            }
            if (result == 0)
                result = send(nullptr);
            if (result == 0 && av_write_trailer(m_format) < 0)
                result = kEk7ConvCreateFailed;
        }
        if (m_format != nullptr && m_format->pb != nullptr && avio_closep(&m_format->pb) < 0 && result == 0)
            result = kEk7ConvCreateFailed;
        release();
        return result;
    }

private:
    bool newFrame()
    {
        av_frame_unref(m_frame);
        m_frame->format = AV_SAMPLE_FMT_FLTP;
        m_frame->sample_rate = m_codec->sample_rate;
        m_frame->nb_samples = m_frameSize;
        m_frame->pts = m_pts;
        m_pts += m_frameSize;
        m_filled = 0;
        return av_channel_layout_copy(&m_frame->ch_layout, &m_codec->ch_layout) == 0 &&
               av_frame_get_buffer(m_frame, 0) == 0;
    }

    // Sends a frame (nullptr: the end) and writes every packet that is ready.
    int send(AVFrame* frame)
    {
        if (avcodec_send_frame(m_codec, frame) < 0)
            return kEk7ConvInitFailed;
        for (;;) {
            const int got = avcodec_receive_packet(m_codec, m_packet);
            if (got == AVERROR(EAGAIN) || got == AVERROR_EOF)
                return 0;
            if (got < 0)
                return kEk7ConvInitFailed;
            av_packet_rescale_ts(m_packet, m_codec->time_base, m_stream->time_base);
            m_packet->stream_index = m_stream->index;
            if (av_interleaved_write_frame(m_format, m_packet) < 0)
                return kEk7ConvCreateFailed;
        }
    }

    void release()
    {
        av_packet_free(&m_packet);
        av_frame_free(&m_frame);
        avcodec_free_context(&m_codec);
        if (m_format != nullptr) {
            if (m_format->pb != nullptr)
                avio_closep(&m_format->pb);
            avformat_free_context(m_format);
            m_format = nullptr;
        }
    }

    AVFormatContext* m_format = nullptr;
    AVCodecContext* m_codec = nullptr;
    AVStream* m_stream = nullptr;
    AVFrame* m_frame = nullptr;
    AVPacket* m_packet = nullptr;
    int m_channels = 1;
    int m_frameSize = 0;
    int m_filled = 0;
    std::int64_t m_pts = 0;
};

_Ek7Conv g_settings;

}  // namespace

_Ek7Conv* Ek7WmaConvInit()
{
    return &g_settings;
}

int WavToWma(HWND progressWindow, const char* sourcePath, const char* targetPath)
{
    WmaEncoder encoder;
    return ek7conv::convert(progressWindow, sourcePath, targetPath, encoder, g_settings);
}
