#include "base/misc/zstring.h"

#include <charconv>

namespace
{

/// Number of the argument that a placeholder at `nPos` names, its decimals (-1: the type's own form) and its end.
struct SPlaceholder
{
    size_t nArgument = 0;
    int nDecimals = -1;
    size_t nEnd = 0;
};

bool ReadPlaceholder(std::string_view format, size_t nPos, SPlaceholder& placeholder)
{
    size_t n = nPos + 1;
    const size_t nDigits = n;
    placeholder = {};
    while (n < format.size() && format[n] >= '0' && format[n] <= '9' && n - nDigits < 3)
        placeholder.nArgument = placeholder.nArgument * 10 + static_cast<size_t>(format[n++] - '0');
    if (n == nDigits)
        return false;
    if (format.substr(n).starts_with(",.") && n + 2 < format.size() && format[n + 2] >= '0' && format[n + 2] <= '9')
    {
        placeholder.nDecimals = format[n + 2] - '0';
        n += 3;
    }
    placeholder.nEnd = n + 1;
    return n < format.size() && format[n] == '}';
}

void AppendWithDecimals(const ZVariantRef& argument, int nDecimals, ZString& text)
{
    double fValue;
    STypeID* pTypeID = argument.Object().GetTypeID();
    if (pTypeID == GetTypeID<float>())
        fValue = static_cast<double>(*static_cast<const float*>(argument.Object().Get()));
    else if (pTypeID == GetTypeID<double>())
        fValue = *static_cast<const double*>(argument.Object().Get());
    else
        return argument.AppendText(text);
    char buffer[400]; // the longest double has 309 digits before the point
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, fValue, std::chars_format::fixed, nDecimals).ptr;
    text.Append(std::string_view(buffer, static_cast<size_t>(end - buffer)));
}

} // namespace

void ZVariantRef::AppendText(ZString& text) const
{
    if (m_szText != nullptr)
        return text.Append(m_szText);
    const IType* pType = ZTypeRegistry::GetType(m_object.GetTypeID());
    if (pType != nullptr)
        pType->AppendText(m_object.Get(), text);
    else if (!m_object.IsEmpty())
        text.Append(m_object.GetTypeID()->m_szName);
}

void ZString::FormatArguments(const ZString& format, TArrayRef<const ZVariantRef> arguments)
{
    const std::string_view source = format.View();
    ZString result;
    size_t nDone = 0;
    for (size_t nPos = source.find('{'); nPos != std::string_view::npos; nPos = source.find('{', nPos + 1))
    {
        SPlaceholder placeholder;
        if (!ReadPlaceholder(source, nPos, placeholder) || placeholder.nArgument >= arguments.Size() ||
            arguments[placeholder.nArgument].IsEmpty())
            continue;
        result.Append(source.substr(nDone, nPos - nDone));
        if (placeholder.nDecimals >= 0)
            AppendWithDecimals(arguments[placeholder.nArgument], placeholder.nDecimals, result);
        else
            arguments[placeholder.nArgument].AppendText(result);
        nDone = placeholder.nEnd;
        nPos = placeholder.nEnd - 1;
    }
    result.Append(source.substr(nDone));
    *this = std::move(result);
}
