#include "app/print/QtPageOutput.h"

#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <cmath>

namespace tesselex {
namespace {

constexpr double kTwipsPerInch = 1440.0;

QString ToQString(std::u16string_view text) {
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

std::unique_ptr<QtPageOutput> QtPageOutput::ForDefaultPrinter(const QString& pdfFallback) {
    const QPrinterInfo info = QPrinterInfo::defaultPrinter();
    if (info.isNull()) {
        return ForPdf(pdfFallback);
    }
    return std::unique_ptr<QtPageOutput>(
        new QtPageOutput(std::make_unique<QPrinter>(info, QPrinter::HighResolution)));
}

std::unique_ptr<QtPageOutput> QtPageOutput::ForPdf(const QString& pdfPath) {
    auto printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
    printer->setOutputFormat(QPrinter::PdfFormat);
    printer->setOutputFileName(pdfPath);
    return std::unique_ptr<QtPageOutput>(new QtPageOutput(std::move(printer)));
}

QtPageOutput::QtPageOutput(std::unique_ptr<QPrinter> printer) : printer_(std::move(printer)) {}

QtPageOutput::~QtPageOutput() {
    EndDoc();
}

bool QtPageOutput::IsPdf() const {
    return printer_->outputFormat() == QPrinter::PdfFormat;
}

QPainter* QtPageOutput::Painter() {
    if (!painter_ && !ended_) {
        painter_ = std::make_unique<QPainter>();
        if (!painter_->begin(printer_.get())) {
            // A printer that refuses to start stays silent, as every printer error does.
            painter_.reset();
            ended_ = true;
        }
    }
    return painter_.get();
}

double QtPageOutput::DevicePerTwip() const {
    return printer_->resolution() / kTwipsPerInch;
}

void QtPageOutput::SetFont(std::u16string_view fontName, double size) {
    if (QPainter* painter = Painter()) {
        QFont font(ToQString(fontName));
        font.setPointSizeF(size > 0 ? size : 12.0);
        painter->setFont(font);
    }
}

std::int32_t QtPageOutput::TextHeight(std::u16string_view text) {
    QPainter* painter = Painter();
    if (painter == nullptr) {
        return 0;
    }
    const QFontMetrics metrics(painter->font(), printer_.get());
    const QRect bounds = metrics.boundingRect(ToQString(text));
    const int height = std::max(bounds.height(), metrics.height());
    return static_cast<std::int32_t>(std::lround(height / DevicePerTwip()));
}

void QtPageOutput::PrintText(std::int32_t x, std::int32_t y, std::u16string_view text) {
    if (QPainter* painter = Painter()) {
        const QFontMetrics metrics(painter->font(), printer_.get());
        // The layout gives the top of the line; Qt draws from the baseline.
        const double top = y * DevicePerTwip();
        painter->drawText(QPointF(x * DevicePerTwip(), top + metrics.ascent()), ToQString(text));
    }
}

void QtPageOutput::NewPage() {
    if (Painter() != nullptr) {
        printer_->newPage();
    }
}

void QtPageOutput::EndDoc() {
    if (painter_) {
        painter_->end();
        painter_.reset();
    }
    ended_ = true;
}

}  // namespace tesselex
