#include "maker/Ek7Conv/Ek7Mp3Conv.h"

#include <lame/lame.h>

#include <cstdio>
#include <string>
#include <vector>

#include "maker/Ek7Conv/ConvertLoop.h"

namespace {

// ID3 text as lame writes it: ISO-8859-1. The settings hold UTF-8; a
// character beyond Latin-1 becomes "?".
std::string latin1(const std::string& utf8)
{
    std::string out;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        unsigned code = byte;
        std::size_t length = 1;
        if (byte >= 0xF0)
            length = 4;
        else if (byte >= 0xE0)
            length = 3;
        else if (byte >= 0xC0)
            length = 2;
        if (length == 2 && i + 1 < utf8.size())
            code = ((byte & 0x1Fu) << 6) | (static_cast<unsigned char>(utf8[i + 1]) & 0x3Fu);
        out += length == 1 || (length == 2 && code <= 0xFF) ? static_cast<char>(code) : '?';
        i += length;
    }
    return out;
}

class Mp3Encoder : public ek7conv::Encoder {
public:
    ~Mp3Encoder() override { release(); }

    int begin(const ek7conv::SourceFormat& format, const std::string& path, const _Ek7Conv& settings) override
    {
        m_lame = lame_init();
        if (m_lame == nullptr)
            return kEk7ConvInitFailed;
        m_channels = format.channels;
        lame_set_in_samplerate(m_lame, format.rate);
        lame_set_num_channels(m_lame, format.channels);
        lame_set_mode(m_lame, format.channels == 1 ? MONO : JOINT_STEREO);
        lame_set_brate(m_lame, settings.kbps > 0 ? settings.kbps : Ek7ConvMp3Kbps(format.rate, format.channels));
        lame_set_VBR(m_lame, vbr_off);
        lame_set_quality(m_lame, kQuality);
        if (format.frames > 0)
            lame_set_num_samples(m_lame, static_cast<unsigned long>(format.frames));
        // The tags are written here, not inside the first frames, so that the
        // encoder-delay header can go back in after the ID3v2 tag.
        lame_set_write_id3tag_automatic(m_lame, 0);
        id3tag_init(m_lame);
        id3tag_add_v2(m_lame);
        if (!settings.title.empty())
            id3tag_set_title(m_lame, latin1(settings.title).c_str());
        if (!settings.artist.empty())
            id3tag_set_artist(m_lame, latin1(settings.artist).c_str());
        // ID3v2.3 keeps a year only ("yyyy" of "yyyy-mm-dd").
        if (!settings.date.empty())
            id3tag_set_year(m_lame, settings.date.substr(0, 4).c_str());
        if (lame_init_params(m_lame) < 0)
            return kEk7ConvInitFailed;
        m_file = std::fopen(path.c_str(), "wb");
        if (m_file == nullptr)
            return kEk7ConvCreateFailed;
        std::vector<unsigned char> tag(lame_get_id3v2_tag(m_lame, nullptr, 0));
        m_headerAt = static_cast<long>(tag.size());
        if (!tag.empty() && !write(tag.data(), lame_get_id3v2_tag(m_lame, tag.data(), tag.size())))
            return kEk7ConvCreateFailed;
        return 0;
    }

    int encode(const std::int16_t* samples, std::size_t frames) override
    {
        m_buffer.resize(frames * 5 / 4 + 7200);
        const int made =
            m_channels == 1
                ? lame_encode_buffer(m_lame, samples, nullptr, static_cast<int>(frames), m_buffer.data(),
                                     static_cast<int>(m_buffer.size()))
                : lame_encode_buffer_interleaved(m_lame, const_cast<short*>(samples), static_cast<int>(frames),
                                                 m_buffer.data(), static_cast<int>(m_buffer.size()));
        if (made < 0)
            return kEk7ConvInitFailed;
        return write(m_buffer.data(), static_cast<std::size_t>(made)) ? 0 : kEk7ConvCreateFailed;
    }

    int end(bool failed) override
    {
        int result = 0;
        if (!failed) {
            m_buffer.resize(7200);
            const int made = lame_encode_flush(m_lame, m_buffer.data(), static_cast<int>(m_buffer.size()));
            if (made < 0 || !write(m_buffer.data(), static_cast<std::size_t>(made)))
                result = kEk7ConvCreateFailed;
            std::vector<unsigned char> tag(128);
            const std::size_t v1 = lame_get_id3v1_tag(m_lame, tag.data(), tag.size());
            if (result == 0 && v1 > 0 && !write(tag.data(), v1))
                result = kEk7ConvCreateFailed;
            // The encoder-delay and length header replaces the empty first
            // frame that lame left for it.
            std::vector<unsigned char> header(2880);
            const std::size_t size = lame_get_lametag_frame(m_lame, header.data(), header.size());
            if (result == 0 && size > 0 &&
                (std::fseek(m_file, m_headerAt, SEEK_SET) != 0 || !write(header.data(), size)))
                result = kEk7ConvCreateFailed;
        }
        if (m_file != nullptr && std::fclose(m_file) != 0 && result == 0)
            result = kEk7ConvCreateFailed;
        m_file = nullptr;
        release();
        return result;
    }

private:
    static constexpr int kQuality = 3;  // lame's own default

    bool write(const unsigned char* data, std::size_t size)
    {
        return size == 0 || std::fwrite(data, 1, size, m_file) == size;
    }
    void release()
    {
        if (m_file != nullptr)
            std::fclose(m_file);
        m_file = nullptr;
        if (m_lame != nullptr)
            lame_close(m_lame);
        m_lame = nullptr;
    }

    lame_global_flags* m_lame = nullptr;
    std::FILE* m_file = nullptr;
    int m_channels = 1;
    long m_headerAt = 0;
    std::vector<unsigned char> m_buffer;
};

_Ek7Conv g_settings;

}  // namespace

_Ek7Conv* Ek7Mp3ConvInit()
{
    return &g_settings;
}

int WavToMp3(HWND progressWindow, const char* sourcePath, const char* targetPath)
{
    Mp3Encoder encoder;
    return ek7conv::convert(progressWindow, sourcePath, targetPath, encoder, g_settings);
}
