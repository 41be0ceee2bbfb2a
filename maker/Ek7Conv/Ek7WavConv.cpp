#include "maker/Ek7Conv/Ek7WavConv.h"

#include <sndfile.h>

#include "maker/Ek7Conv/ConvertLoop.h"

namespace {

class WavEncoder : public ek7conv::Encoder {
public:
    ~WavEncoder() override
    {
        if (m_file != nullptr)
            sf_close(m_file);
    }

    int begin(const ek7conv::SourceFormat& format, const std::string& path, const _Ek7Conv& settings) override
    {
        SF_INFO info{};
        info.samplerate = format.rate;
        info.channels = format.channels;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        if (sf_format_check(&info) == 0)
            return kEk7ConvInitFailed;
        m_file = sf_open(path.c_str(), SFM_WRITE, &info);
        if (m_file == nullptr)
            return kEk7ConvCreateFailed;
        // The LIST INFO chunk; libsndfile writes it when the file closes.
        if (!settings.title.empty())
            sf_set_string(m_file, SF_STR_TITLE, settings.title.c_str());
        if (!settings.artist.empty())
            sf_set_string(m_file, SF_STR_ARTIST, settings.artist.c_str());
        if (!settings.date.empty())
            sf_set_string(m_file, SF_STR_DATE, settings.date.c_str());
        return 0;
    }

    int encode(const std::int16_t* samples, std::size_t frames) override
    {
        return sf_writef_short(m_file, samples, static_cast<sf_count_t>(frames)) == static_cast<sf_count_t>(frames)
                   ? 0
                   : kEk7ConvCreateFailed;
    }

    int end(bool) override
    {
        const int closed = sf_close(m_file);
        m_file = nullptr;
        return closed == 0 ? 0 : kEk7ConvCreateFailed;
    }

private:
    SNDFILE* m_file = nullptr;
};

_Ek7Conv g_settings;

}  // namespace

_Ek7Conv* Ek7WavConvInit()
{
    return &g_settings;
}

int WavToWav(HWND progressWindow, const char* sourcePath, const char* targetPath)
{
    WavEncoder encoder;
    return ek7conv::convert(progressWindow, sourcePath, targetPath, encoder, g_settings);
}
