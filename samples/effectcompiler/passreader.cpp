#include "samples/effectcompiler/passreader.h"

#include <string>

using namespace FXCompilerUtil;

namespace Samples
{

namespace
{

class ZPassReader
{
public:
    ZPassReader(const char* pText, size_t nSize, uint32_t& nLine, size_t& nPosition)
        : m_pText(pText), m_nSize(nSize), m_nLine(nLine), m_nPosition(nPosition)
    {
    }

    void Read(TArray<SFXPass>& passes)
    {
        while (Next() && !At('}'))
        {
            m_nPosition += ExpectKeyword(m_pText, m_nPosition, m_nSize, m_nLine, "pass");
            SFXPass pass;
            Next();
            // No token: annotations may begin right behind the name.
            const size_t nStart = m_nPosition;
            while (m_nPosition < m_nSize && IsIdentifierCharacter(m_pText[m_nPosition]))
                ++m_nPosition;
            pass.name = ZString::FromView({m_pText + nStart, m_nPosition - nStart});
            Next();
            if (At('<'))
            {
                Until('>');
                Expect('>');
            }
            Expect('{');
            while (Next() && !At('}'))
                ReadState(pass.states);
            Expect('}');
            passes.Add(std::move(pass));
        }
    }

private:
    bool At(char c) const { return StandsAt(m_pText, m_nPosition, m_nSize, c); }
    void Expect(char c) { m_nPosition += ExpectChar(m_pText, m_nPosition, m_nSize, m_nLine, c); }

    /// Over white space, lone semicolons and #line directives. False at the end of the text.
    bool Next()
    {
        while (SkipWhiteSpace(m_pText, m_nPosition, m_nSize, m_nLine))
        {
            SLineDirective directive;
            if (FindLineDirective(m_pText, m_nPosition, m_nSize, directive))
                m_nPosition = directive.nEnd;
            else if (At(';'))
                ++m_nPosition;
            else
                return true;
        }
        return false;
    }

    /// What stands before the character, where it is outside of brackets and quotes: white space is cut down.
    ZString Until(char cEnd)
    {
        std::string text;
        int nDepth = 0;
        char cQuote = '\0';
        for (; m_nPosition < m_nSize; ++m_nPosition)
        {
            const char c = m_pText[m_nPosition];
            m_nLine += c == '\n' ? 1 : 0;
            if (cQuote != '\0')
                cQuote = c == cQuote ? '\0' : cQuote;
            else if (c == '"')
                cQuote = c;
            else if (c == '(' || c == '{' || c == '[')
                ++nDepth;
            else if (nDepth > 0 && (c == ')' || c == '}' || c == ']'))
                --nDepth;
            else if (nDepth == 0 && (c == cEnd || c == '}'))
                break;
            if (!IsWhiteSpace(c) || cQuote != '\0')
                text += c;
            else if (!text.empty() && text.back() != ' ')
                text += ' ';
        }
        if (!text.empty() && text.back() == ' ')
            text.pop_back();
        return ZString::FromView(text);
    }

    void ReadState(TArray<SFXPassState>& states)
    {
        const ZString statement = Until(';');
        Expect(';');
        const size_t nEquals = statement.IndexOf('=');
        const size_t nBracket = statement.IndexOf('(');
        SFXPassState state;
        if (nEquals != ZString::NOT_FOUND && (nBracket == ZString::NOT_FOUND || nEquals < nBracket))
        {
            state.name = statement.Substring(0, nEquals).CopyTrim();
            state.value = statement.Substring(nEquals + 1).CopyTrim();
        }
        else if (nBracket != ZString::NOT_FOUND && statement.EndsWith(")"))
        {
            state.name = statement.Substring(0, nBracket).CopyTrim();
            state.value = statement.Substring(nBracket + 1, statement.Length() - nBracket - 2).CopyTrim();
        }
        else
            Fail("!\"Unexpected token\"", ZString::Format("'{0}' is no setting of a pass", statement));
        states.Add(std::move(state));
    }

    const char* m_pText;
    size_t m_nSize;
    uint32_t& m_nLine;
    size_t& m_nPosition;
};

} // namespace

void ReadPasses(const char* pText, size_t nSize, uint32_t& nLine, size_t& nPosition, TArray<SFXPass>& passes)
{
    ZPassReader(pText, nSize, nLine, nPosition).Read(passes);
}

} // namespace Samples
