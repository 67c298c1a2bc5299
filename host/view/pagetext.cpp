#include "host/view/pagetext.h"

// The build joins the page's files to one, whose bytes stand in the program as they are.
asm(".pushsection .rodata\n"
    ".global animpack_page_begin\n"
    ".global animpack_page_end\n"
    "animpack_page_begin:\n"
    ".incbin \"" Z_PAGE "\"\n"
    "animpack_page_end:\n"
    ".byte 0\n"
    ".popsection\n");
extern "C" const char animpack_page_begin[];
extern "C" const char animpack_page_end[];

namespace Host
{

std::string_view PageText()
{
    return {animpack_page_begin, static_cast<size_t>(animpack_page_end - animpack_page_begin)};
}

} // namespace Host
