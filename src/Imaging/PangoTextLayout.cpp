#include <cstdint>
#include <memory>

#include <hb.h>
#include <pango/pangoft2.h>

#include "Imaging/TextLayoutModule.h"

namespace
{

constexpr double kPointsPerInch = 72; ///< as the resolution: one unit a point

struct AReleaser
{
    void operator()(gpointer inObject) const { g_object_unref(inObject); }
    void operator()(PangoFontDescription* inDescription) const { pango_font_description_free(inDescription); }
    void operator()(hb_draw_funcs_t* inFunctions) const { hb_draw_funcs_destroy(inFunctions); }
};

template <class T>
using AOwned = std::unique_ptr<T, AReleaser>;

float ToPoints(float inUnits)
{
    return inUnits / PANGO_SCALE;
}

/// Takes an outline as HarfBuzz draws it, in Pango units with y upwards.
struct AOutlineDrawing
{
    std::vector<AOutlineStep>& fOutline;
    float fOffsetX; ///< of the glyph from the pen, in Pango units, y downwards
    float fOffsetY;

    [[nodiscard]] AOutlinePoint At(float inX, float inY) const
    {
        return {ToPoints(inX + fOffsetX), -ToPoints(inY - fOffsetY)};
    }
};

AOutlineDrawing& DrawingOf(void* inData)
{
    return *static_cast<AOutlineDrawing*>(inData);
}

void MoveTo(hb_draw_funcs_t*, void* inData, hb_draw_state_t*, float inX, float inY, void*)
{
    AOutlineDrawing& drawing = DrawingOf(inData);
    drawing.fOutline.push_back({OutlineOperator::kMoveTo, {drawing.At(inX, inY)}});
}

void LineTo(hb_draw_funcs_t*, void* inData, hb_draw_state_t*, float inX, float inY, void*)
{
    AOutlineDrawing& drawing = DrawingOf(inData);
    drawing.fOutline.push_back({OutlineOperator::kLineTo, {drawing.At(inX, inY)}});
}

void CurveTo(hb_draw_funcs_t*, void* inData, hb_draw_state_t*, float inX1, float inY1, float inX2, float inY2,
             float inX3, float inY3, void*)
{
    AOutlineDrawing& drawing = DrawingOf(inData);
    drawing.fOutline.push_back(
        {OutlineOperator::kCurveTo, {drawing.At(inX1, inY1), drawing.At(inX2, inY2), drawing.At(inX3, inY3)}});
}

void ClosePath(hb_draw_funcs_t*, void* inData, hb_draw_state_t*, void*)
{
    DrawingOf(inData).fOutline.push_back({OutlineOperator::kClosePath, {}});
}

/// Without a callback for them, HarfBuzz draws quadratic curves as cubic ones.
AOwned<hb_draw_funcs_t> CreateDrawFunctions()
{
    AOwned<hb_draw_funcs_t> functions(hb_draw_funcs_create());
    hb_draw_funcs_set_move_to_func(functions.get(), MoveTo, nullptr, nullptr);
    hb_draw_funcs_set_line_to_func(functions.get(), LineTo, nullptr, nullptr);
    hb_draw_funcs_set_cubic_to_func(functions.get(), CurveTo, nullptr, nullptr);
    hb_draw_funcs_set_close_path_func(functions.get(), ClosePath, nullptr, nullptr);
    return functions;
}

void DrawGlyph(hb_font_t* inFont, hb_codepoint_t inGlyph, hb_draw_funcs_t* inFunctions, AOutlineDrawing& ioDrawing)
{
#if HB_VERSION_ATLEAST(7, 0, 0)
    hb_font_draw_glyph(inFont, inGlyph, inFunctions, &ioDrawing);
#else
    hb_font_get_glyph_shape(inFont, inGlyph, inFunctions, &ioDrawing);
#endif
}

AGlyph ReadGlyph(const PangoGlyphInfo& inInfo, hb_font_t* inFont, hb_draw_funcs_t* inFunctions)
{
    AGlyph glyph;
    glyph.fIsDrawn = inInfo.glyph != PANGO_GLYPH_EMPTY && (inInfo.glyph & PANGO_GLYPH_UNKNOWN_FLAG) == 0;
    glyph.fAdvance = ToPoints(static_cast<float>(inInfo.geometry.width));
    if (glyph.fIsDrawn)
    {
        AOutlineDrawing drawing{glyph.fOutline, static_cast<float>(inInfo.geometry.x_offset),
                                static_cast<float>(inInfo.geometry.y_offset)};
        DrawGlyph(inFont, inInfo.glyph, inFunctions, drawing);
    }
    return glyph;
}

/// False when Pango found no font at all for the run.
bool ReadRun(const PangoGlyphItem& inRun, hb_draw_funcs_t* inFunctions, ATextLine& ioLine)
{
    PangoFont* const font = inRun.item->analysis.font;
    if (font == nullptr)
    {
        return false;
    }
    for (int i = 0; i < inRun.glyphs->num_glyphs; ++i)
    {
        ioLine.fGlyphs.push_back(ReadGlyph(inRun.glyphs->glyphs[i], pango_font_get_hb_font(font), inFunctions));
    }
    return true;
}

/// In Pango units. Pango's own sum of it overflows in a text of some hundred very large characters.
std::int64_t GetWidth(const PangoLayoutLine& inLine)
{
    std::int64_t width = 0;
    for (const GSList* run = inLine.runs; run != nullptr; run = run->next)
    {
        const PangoGlyphString& glyphs = *static_cast<const PangoGlyphItem*>(run->data)->glyphs;
        for (int i = 0; i < glyphs.num_glyphs; ++i)
        {
            width += glyphs.glyphs[i].geometry.width;
        }
    }
    return width;
}

void ReadBounds(PangoLayoutLine& inLine, ATextLine& outLine)
{
    PangoRectangle logical;
    pango_layout_line_get_extents(&inLine, nullptr, &logical);
    outLine.fBefore = 0;
    outLine.fAfter = ToPoints(static_cast<float>(GetWidth(inLine)));
    outLine.fAscent = ToPoints(static_cast<float>(-logical.y));
    outLine.fDescent = ToPoints(static_cast<float>(logical.y + logical.height));
}

bool ReadLine(PangoLayoutLine& inLine, ATextLine& outLine)
{
    ReadBounds(inLine, outLine);
    const AOwned<hb_draw_funcs_t> functions = CreateDrawFunctions();
    for (const GSList* run = inLine.runs; run != nullptr; run = run->next)
    {
        if (!ReadRun(*static_cast<const PangoGlyphItem*>(run->data), functions.get(), outLine))
        {
            return false;
        }
    }
    return true;
}

/// Without rounding, positions are those of the unhinted outlines.
AOwned<PangoContext> CreateContext()
{
    const AOwned<PangoFontMap> fonts(pango_ft2_font_map_new());
    pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(fonts.get()), kPointsPerInch, kPointsPerInch);
    AOwned<PangoContext> context(pango_font_map_create_context(fonts.get()));
    pango_context_set_round_glyph_positions(context.get(), FALSE);
    return context;
}

/// What Pango has to say about fonts and texts is not for standard error, where CUPS reads.
void DropMessage(const gchar* inDomain, GLogLevelFlags inLevel, const gchar* inMessage, gpointer inData)
{
    if ((inLevel & G_LOG_FLAG_FATAL) != 0)
    {
        g_log_default_handler(inDomain, inLevel, inMessage, inData);
    }
}

} // namespace

extern "C" __attribute__((visibility("default"))) bool
VXLayOutText(const std::string& inText, const std::string& inFont, ATextLine& outLine) noexcept
{
    g_log_set_default_handler(DropMessage, nullptr);
    const AOwned<PangoContext> context = CreateContext();
    const AOwned<PangoLayout> layout(pango_layout_new(context.get()));
    const AOwned<PangoFontDescription> font(pango_font_description_from_string(inFont.c_str()));
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
    pango_layout_set_text(layout.get(), inText.c_str(), -1);
    return ReadLine(*pango_layout_get_line_readonly(layout.get(), 0), outLine);
}
