#pragma once

#include <memory>
#include <string>
#include <string_view>

struct gzFile_s;

/// A guide page of manual duplex: a gzip-compressed PostScript page (RFC 1952), read line by line.
///
/// The maker's folder "/Library/Printers/vx/filter/Guides" comes first, then "guides" in the resource folder.
class AGuideFile
{
public:
    /// inName is the name of the file without its folder.
    explicit AGuideFile(std::string_view inName);

    [[nodiscard]] bool IsOpen() const { return fFile != nullptr; }

    /// The next line with its line feed, or at most 8191 bytes of a longer one. False at the end of the page, and where
    /// the file is damaged. Only while it is open; a NUL ends the line.
    [[nodiscard]] bool ReadLine(std::string& outLine);

private:
    struct ACloser
    {
        void operator()(gzFile_s* inFile) const;
    };

    void Open(const std::string& inPath);

    std::unique_ptr<gzFile_s, ACloser> fFile; ///< null when neither folder has the file
};
