#pragma once
// The page output of a printed character map on a real device: the system's default printer,
// or a PDF file when the machine has no printer. The map's layout (lines, columns in twips) is
// computed by CharacterClass::PrintCharacterMap; this class only draws it.

#include <QString>
#include <memory>

#include "charset/PageOutput.h"

class QPainter;
class QPrinter;

namespace tesselex {

class QtPageOutput : public PageOutput {
  public:
    // The default printer when there is one; otherwise a PDF written to pdfFallback.
    static std::unique_ptr<QtPageOutput> ForDefaultPrinter(const QString& pdfFallback);
    // Always a PDF file (for previews and for machines without printers).
    static std::unique_ptr<QtPageOutput> ForPdf(const QString& pdfPath);

    ~QtPageOutput() override;
    QtPageOutput(const QtPageOutput&) = delete;
    QtPageOutput& operator=(const QtPageOutput&) = delete;

    // True when output goes to a PDF file rather than to a printer.
    bool IsPdf() const;

    void SetFont(std::u16string_view fontName, double size) override;
    std::int32_t TextHeight(std::u16string_view text) override;
    void PrintText(std::int32_t x, std::int32_t y, std::u16string_view text) override;
    void NewPage() override;
    void EndDoc() override;

  private:
    explicit QtPageOutput(std::unique_ptr<QPrinter> printer);
    // Starts painting on first use, so an unused output never creates an empty document.
    QPainter* Painter();
    double DevicePerTwip() const;

    std::unique_ptr<QPrinter> printer_;
    std::unique_ptr<QPainter> painter_;
    bool ended_ = false;
};

}  // namespace tesselex
