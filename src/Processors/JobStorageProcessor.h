#pragma once

#include <string>
#include <string_view>

#include "Imaging/Secret.h"
#include "Processors/PostScriptProcessor.h"

/// Holds or stores the job at the printer: turns the job's feature blocks for job retention into the printer's hold
/// commands, with the names and the PIN that the user typed in the print dialog.
///
/// Sets the job storage flag of the settings, which the collation processor, constructed later, reads.
class AJobStorageProcessor final : public APostScriptProcessor
{
public:
    explicit AJobStorageProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "JobStorage"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void Initialize();
    void ProcessOtherFeature(const APostScriptLineInfo& inLine);
    void ProcessPIN(bool inIsUsed);
    void HoldPrivateJob(bool inStore);
    void PrintProofAtOnce();
    void InsertStringCodeSetInvocation(const char* inKey, const std::string& inValue);
    [[nodiscard]] std::string CreatePINInvocationString(bool inStore) const;
    void InjectPIN();
    void ExtendPersonalJob();
    void FillCurrentFeature(std::string_view inMark, const std::string& inArgument, std::size_t inBufferSize);

    std::string fUserName; ///< as it stands in PostScript parentheses, in UTF-8
    std::string fJobName;  ///< likewise
    ASecret fPIN;          ///< likewise
    bool fJobStorageActive = false;
};
