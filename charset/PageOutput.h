#pragma once
// The page-oriented output a character map is printed on. charset/ only computes the layout;
// the app layer supplies a printer (or a PDF writer), tests supply a recording one. Positions
// and heights are in twips. Implementations swallow their own failures: printing a map never
// stops on a printer error.

#include <cstdint>
#include <string_view>

namespace tesselex {

class PageOutput {
  public:
    virtual ~PageOutput() = default;

    // Selects the font for the following TextHeight and PrintText calls.
    virtual void SetFont(std::u16string_view fontName, double size) = 0;
    // The height of the text in the current font.
    virtual std::int32_t TextHeight(std::u16string_view text) = 0;
    // Draws the text with its top-left corner at (x, y) in the current font.
    virtual void PrintText(std::int32_t x, std::int32_t y, std::u16string_view text) = 0;
    virtual void NewPage() = 0;
    // Ends the document and hands it to the device.
    virtual void EndDoc() = 0;
};

}  // namespace tesselex
