#include "host/show/effecttext.h"

#include "host/files/resourceids.h"
#include "host/show/jsonparts.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>

namespace Host
{

namespace
{

void WriteSamplers(ZJsonWriter& json, const TMap<ZString, SFXSamplerState>& samplers)
{
    for (const auto& [name, sampler] : samplers)
    {
        json.Open('{');
        json.TextField("name", sampler.name.View());
        json.UnsignedField("borderColor", sampler.borderColor);
        json.UnsignedField("flags", sampler.flags);
        json.UnsignedField("addressU", sampler.addressU);
        json.UnsignedField("addressV", sampler.addressV);
        json.UnsignedField("addressW", sampler.addressW);
        json.UnsignedField("filter", sampler.filter);
        json.UnsignedField("maxAnisotropy", sampler.maxAnisotropy);
        json.Key("mipLODBias");
        json.Number(sampler.mipLODBias);
        json.Close('}');
    }
}

void WriteTechniques(ZJsonWriter& json, const TArray<SFXTechnique>& techniques)
{
    for (const SFXTechnique& technique : techniques)
    {
        json.Open('{');
        json.TextField("name", technique.name.View());
        json.Key("passes");
        json.Open('[');
        for (const SFXPass& pass : technique.passes)
        {
            json.Open('{');
            json.TextField("name", pass.name.View());
            json.Key("states");
            json.Open('[');
            for (const SFXPassState& state : pass.states)
            {
                json.Open('{');
                json.TextField("name", state.name.View());
                json.TextField("value", state.value.View());
                json.Close('}');
            }
            json.Close(']');
            json.Close('}');
        }
        json.Close(']');
        json.Close('}');
    }
}

std::string SamplerText(const SFXSamplerState& sampler)
{
    char bias[40];
    const auto biasEnd = std::to_chars(bias, bias + sizeof bias, sampler.mipLODBias);
    char numbers[160];
    std::snprintf(numbers, sizeof numbers,
                  "flags 0x%02x  filter %u  address %u %u %u  borderColor 0x%08" PRIx32 "  maxAnisotropy %u",
                  sampler.flags, sampler.filter, sampler.addressU, sampler.addressV, sampler.addressW,
                  sampler.borderColor, sampler.maxAnisotropy);
    return "  " + ToStd(sampler.name) + "  " + numbers + "  mipLODBias " + std::string(bias, biasEnd.ptr) + '\n';
}

} // namespace

std::string EffectLine(const std::string& sFile, const SEffectRun& run)
{
    ZJsonWriter json;
    const auto list = [&json](const char* szKey, auto&& write)
    {
        json.Key(szKey);
        json.Open('[');
        write();
        json.Close(']');
    };
    json.Open('{');
    json.TextField("file", sFile);
    json.BoolField("ok", run.pEffect != nullptr);
    json.OptionalField("error", run.sError);
    list("warnings",
         [&]
         {
             for (const std::string& sWarning : run.warnings)
                 json.Text(sWarning);
         });
    WriteMessages(json, run.messages);
    list("references",
         [&]
         {
             for (const ZString& reference : run.references)
                 json.Text(reference.View());
         });
    json.Key("flat");
    if (run.pEffect != nullptr)
        json.Text({run.pEffect->GetFlatSource().GetStart(), run.pEffect->GetFlatSource().Size()});
    else
        json.Null();
    list("samplers", [&] { run.pEffect != nullptr ? WriteSamplers(json, run.pEffect->GetSamplers()) : void(); });
    list("sharedParameters",
         [&]
         {
             if (run.pEffect != nullptr)
                 for (const ZString& name : run.pEffect->GetSharedParameters())
                     json.Text(name.View());
         });
    list("techniques", [&] { run.pEffect != nullptr ? WriteTechniques(json, run.pEffect->GetTechniques()) : void(); });
    json.Close('}');
    return json.Take();
}

std::string EffectText(const std::string& sFile, const ICompiledEffect& effect, const TArray<ZString>& references)
{
    const auto head = [](const char* szWhat, size_t nCount)
    { return std::string(szWhat) + " (" + std::to_string(nCount) + ")\n"; };
    std::string sText = sFile + '\n' + head("flat source, bytes", effect.GetFlatSource().Size());
    for (const char c : effect.GetFlatSource())
        if (c != '\r') // for people; the exact bytes are in the JSON form
            sText += c;
    if (sText.back() != '\n')
        sText += '\n';
    sText += head("references", references.Size());
    for (const ZString& reference : references)
        sText += "  " + ToStd(reference) + '\n';
    sText += head("samplers", effect.GetSamplers().Size());
    for (const auto& [name, sampler] : effect.GetSamplers())
        sText += SamplerText(sampler);
    sText += head("shared parameters", effect.GetSharedParameters().Size());
    for (const ZString& name : effect.GetSharedParameters())
        sText += "  " + ToStd(name) + '\n';
    sText += head("techniques", effect.GetTechniques().Size());
    for (const SFXTechnique& technique : effect.GetTechniques())
    {
        sText += "  " + ToStd(technique.name) + '\n';
        for (const SFXPass& pass : technique.passes)
        {
            sText += "    pass " + ToStd(pass.name) + '\n';
            for (const SFXPassState& state : pass.states)
                sText += "      " + ToStd(state.name) + ": " + ToStd(state.value) + '\n';
        }
    }
    return sText;
}

} // namespace Host
