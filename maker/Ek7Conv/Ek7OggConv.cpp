#include "maker/Ek7Conv/Ek7OggConv.h"

#include <vorbis/vorbisenc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "maker/Ek7Conv/ConvertLoop.h"

namespace {

class OggEncoder : public ek7conv::Encoder {
public:
    ~OggEncoder() override { release(); }

    int begin(const ek7conv::SourceFormat& format, const std::string& path, const _Ek7Conv& settings) override
    {
        m_channels = format.channels;
        vorbis_info_init(&m_info);
        m_haveInfo = true;
        if (vorbis_encode_init_vbr(&m_info, format.channels, format.rate, settings.quality / 10.0f) != 0)
            return kEk7ConvInitFailed;
        vorbis_comment_init(&m_comment);
        m_haveComment = true;
        addTag("TITLE", settings.title);
        addTag("ARTIST", settings.artist);
        addTag("DATE", settings.date);
        if (vorbis_analysis_init(&m_dsp, &m_info) != 0)
            return kEk7ConvInitFailed;
        vorbis_block_init(&m_dsp, &m_block);
        m_haveDsp = true;
        // Any serial number will do; a fixed one makes equal inputs give
        // equal files.
        ogg_stream_init(&m_stream, 0x4e61766f);
        m_haveStream = true;
        m_file = std::fopen(path.c_str(), "wb");
        if (m_file == nullptr)
            return kEk7ConvCreateFailed;
        ogg_packet header, comments, codebooks;
        vorbis_analysis_headerout(&m_dsp, &m_comment, &header, &comments, &codebooks);
        ogg_stream_packetin(&m_stream, &header);
        ogg_stream_packetin(&m_stream, &comments);
        ogg_stream_packetin(&m_stream, &codebooks);
        // The headers end a page of their own, as the format asks.
        ogg_page page;
        while (ogg_stream_flush(&m_stream, &page) != 0)
            if (!writePage(page))
                return kEk7ConvCreateFailed;
        return 0;
    }

    int encode(const std::int16_t* samples, std::size_t frames) override
    {
        // In pieces no longer than the encoder's own analysis window, so its
        // buffer stays small and in cache.
        const auto channels = static_cast<std::size_t>(m_channels);
        for (std::size_t done = 0; done < frames; done += kPiece) {
            const std::size_t count = std::min(kPiece, frames - done);
            float** buffer = vorbis_analysis_buffer(&m_dsp, static_cast<int>(count));
            const std::int16_t* in = samples + done * channels;
            for (std::size_t i = 0; i < count; ++i)
                for (std::size_t c = 0; c < channels; ++c)
                    buffer[c][i] = in[i * channels + c] * (1.0f / 32768.0f);
            vorbis_analysis_wrote(&m_dsp, static_cast<int>(count));
            if (!drain())
                return kEk7ConvCreateFailed;
        }
        return 0;
    }

    int end(bool failed) override
    {
        int result = 0;
        if (!failed) {
            vorbis_analysis_wrote(&m_dsp, 0);
            if (!drain())
                result = kEk7ConvCreateFailed;
        }
        if (m_file != nullptr && std::fclose(m_file) != 0 && result == 0)
            result = kEk7ConvCreateFailed;
        m_file = nullptr;
        release();
        return result;
    }

private:
    static constexpr std::size_t kPiece = 1024;

    void addTag(const char* name, const std::string& value)
    {
        if (!value.empty())
            vorbis_comment_add_tag(&m_comment, name, value.c_str());
    }

    bool writePage(const ogg_page& page)
    {
        return std::fwrite(page.header, 1, static_cast<std::size_t>(page.header_len), m_file) ==
                   static_cast<std::size_t>(page.header_len) &&
               std::fwrite(page.body, 1, static_cast<std::size_t>(page.body_len), m_file) ==
                   static_cast<std::size_t>(page.body_len);
    }

    // Every block the analysis has ready, through to whole pages on disk.
    bool drain()
    {
        ogg_packet packet;
        ogg_page page;
        while (vorbis_analysis_blockout(&m_dsp, &m_block) == 1) {
            vorbis_analysis(&m_block, nullptr);
            vorbis_bitrate_addblock(&m_block);
            while (vorbis_bitrate_flushpacket(&m_dsp, &packet) != 0) {
                ogg_stream_packetin(&m_stream, &packet);
                while (ogg_stream_pageout(&m_stream, &page) != 0)
                    if (!writePage(page))
                        return false;
            }
        }
        // At the end of the stream the last page is only given out flushed.
        if (ogg_stream_eos(&m_stream) == 0)
            return true;
        while (ogg_stream_flush(&m_stream, &page) != 0)
            if (!writePage(page))
                return false;
        return true;
    }

    void release()
    {
        if (m_file != nullptr)
            std::fclose(m_file);
        m_file = nullptr;
        if (m_haveStream)
            ogg_stream_clear(&m_stream);
        if (m_haveDsp) {
            vorbis_block_clear(&m_block);
            vorbis_dsp_clear(&m_dsp);
        }
        if (m_haveComment)
            vorbis_comment_clear(&m_comment);
        if (m_haveInfo)
            vorbis_info_clear(&m_info);
        m_haveStream = m_haveDsp = m_haveComment = m_haveInfo = false;
    }

    int m_channels = 1;
    vorbis_info m_info{};
    vorbis_comment m_comment{};
    vorbis_dsp_state m_dsp{};
    vorbis_block m_block{};
    ogg_stream_state m_stream{};
    bool m_haveInfo = false, m_haveComment = false, m_haveDsp = false, m_haveStream = false;
    std::FILE* m_file = nullptr;
};

_Ek7Conv g_settings;

}  // namespace

_Ek7Conv* Ek7OggConvInit()
{
    return &g_settings;
}

int WavToOgg(HWND progressWindow, const char* sourcePath, const char* targetPath)
{
    OggEncoder encoder;
    return ek7conv::convert(progressWindow, sourcePath, targetPath, encoder, g_settings);
}
