#pragma once

#include <QString>

#include <stdexcept>
#include <string>

// A print job the system would not take; the message is ready to show.
class PrintError : public std::runtime_error
{
public:
    explicit PrintError(const std::string& message)
        : std::runtime_error(message)
    {
    }
};

// Hands a PDF file to the system print spooler (CUPS's `lp`, found on PATH) for the default
// printer, so that printing needs no print dialog or widget library. The spooler copies the file
// before this returns, so the caller may delete it. Returns the spooler's answer (the job id);
// throws PrintError when there is no spooler, no default printer, or the job is refused.
QString printPdfOnDefaultPrinter(const QString& pdfFileName, const QString& title = QString());
