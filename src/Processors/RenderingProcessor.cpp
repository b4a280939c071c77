#include "Processors/RenderingProcessor.h"

#include "Imaging/PostScriptText.h"

namespace
{

constexpr std::string_view kShowPage = "VXsave\nVXshowpage\nVXrestore\n";

/// Keeps the real operators under VX names, makes showpage do nothing, and applies the page transformation VXcs to
/// every matrix that the job sets.
constexpr std::string_view kOperators = R"(userdict begin
true setglobal
/VXcs matrix def
/VXcsCur matrix def
false setglobal

/VXinitmatrix/initmatrix load def
/VXset/setmatrix load def
/VXcurrent/currentmatrix load def
/VXtransform/transform load def
/VXitransform/itransform load def
/VXdtransform/dtransform load def
/VXidtransform/idtransform load def
/VXclippath/clippath load def
/VXinitclip/initclip load def
/VXsetCS {VXcs concat} bind def
/initmatrix{initmatrix VXcs concat} bind def
/setmatrix{VXcs matrix concatmatrix VXset} bind def
/currentmatrix{matrix VXcurrent VXcs matrix invertmatrix 3 -1 roll concatmatrix} bind def
/transform{dup type (arraytype) cvn ne {matrix currentmatrix} if VXtransform} bind def
/itransform{dup type (arraytype) cvn ne {matrix currentmatrix} if VXitransform} bind def
/dtransform{dup type (arraytype) cvn ne {matrix currentmatrix} if VXdtransform} bind def
/idtransform{dup type (arraytype) cvn ne {matrix currentmatrix} if VXidtransform} bind def
/initclip{VXinitclip matrix VXcurrent initmatrix 0 0 currentpagedevice /PageSize get aload pop rectclip VXset} bind def
/clippath{matrix VXcurrent initmatrix 0 0 currentpagedevice /PageSize get aload pop rectclip VXset VXclippath} bind def
/initgraphics {systemdict /initgraphics get exec VXsetCS} bind def

/VXCurTransform{VXsetCS matrix currentmatrix VXcsCur matrix invertmatrix  VXcsCur concatmatrix} bind def
/VXshowpage/showpage load def
/showpage{}def
/VXerasepage/erasepage load def
/erasepage null def
/VXgsave{gsave} bind def
/VXgrestore{grestore} bind def
/VXsave {
	matrix currentmatrix dup VXcsCur copy pop
	mark
} bind def
/VXrestore{
	VXCurTransform
	cleartomark setmatrix
	VXcsCur concat
}bind def
end
)";
static_assert(kOperators.size() == 1666);

constexpr ATask kTasks[] = {
    {"%%EndComments", kBeforeLine, "Redefine operators"},
    {"%%Page:", kBeforeLine, "Insert VXShowpage call"},
    {"%%Trailer", kBeforeLine, "Insert VXShowpage call"},
};

} // namespace

ARenderingProcessor::ARenderingProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        RegisterTasks(kTasks);
    }
}

LineProcessStatus ARenderingProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (ioLine.Holds("%%EndComments"))
    {
        WriteData(kOperators);
        CompleteTask("%%EndComments");
    }
    else if (ioLine.Holds("%%Page:"))
    {
        ProcessPage(ioLine);
    }
    else if (ioLine.Holds("%%Trailer"))
    {
        WriteData(kShowPage);
        CompleteTask("%%Trailer");
        CompleteTask("%%Page:");
    }
    return kLineProcessUnchanged;
}

void ARenderingProcessor::ProcessPage(const APostScriptLineInfo& inLine)
{
    const auto page = PSF::GetPageInfoFromPSPageInvocation(inLine.GetText());
    const int number = page ? page->fOrdinal : 0;
    if (!fIsFirstPage && !fIsExcessivePage && number != fLastPageNumber)
    {
        WriteData(kShowPage);
    }
    fIsFirstPage = false;
    fIsExcessivePage = inLine.Holds("(excessive)");
    fLastPageNumber = number != 0 ? number : fLastPageNumber;
}
