#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "Imaging/Secret.h"
#include "Imaging/TextEncoding.h"
#include "Processors/PostScriptProcessor.h"

/// Tells the printer who prints what, for its accounts: Veldra print servers by calls of their procedure set, office
/// printers by one dictionary of user parameters.
class AAccountingProcessor final : public APostScriptProcessor
{
public:
    explicit AAccountingProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Accounting"; }

    /// Also when accounting is switched off: the servers take a time and a job name all the same.
    [[nodiscard]] bool IsApplicable() const override;

    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    /// In the order of the dictionary: the first is the job's name there, every other one the account entry of its
    /// number. The department's access code follows as one more.
    enum AField : std::size_t
    {
        kJobName,
        kUserName,
        kComputerName,
        kDomainName,
        kTimestamp,
        kUUID,
        kApplicationName,
        kApplicationFileName,
        kDepartmentID,
        kFieldCount,
        kDepartmentAccessCode = kFieldCount,
    };

    enum class AReader
    {
        kPrinter,
        kLog, ///< does not get to see the access code
    };

    [[nodiscard]] static int ReadFormNumber();
    [[nodiscard]] static int ReadSwitch();
    void Initialize();
    [[nodiscard]] static std::string GetJobName();
    [[nodiscard]] static std::string GetUserName();
    [[nodiscard]] static std::string GetUUID();
    [[nodiscard]] static std::string GetApplicationName();
    [[nodiscard]] static std::string GetDecodedOption(std::string_view inKey);

    void InsertVeldraAccountingInfo();
    void InsertPlugIn(const char* inKeyword, const char* inProcedure, const std::string& inValue);
    void InsertJobAcctAccountingInfo();
    [[nodiscard]] std::string CreateJobAcctInvocation(AReader inReader) const;
    [[nodiscard]] std::string CreateDictionaryBody(TextEncoding inEncoding, AReader inReader) const;

    int fJobAccounting = -1; ///< 1 on, 0 off, -1 not stated
    int fAccountingInfo = 0; ///< form: 0 none, 2 with the user's groups, 3 of the servers, any other a plain one

    // All texts as they stand in PostScript parentheses, in UTF-8.
    std::optional<std::string> fAccountID; ///< none: the user has no account
    std::array<std::string, kFieldCount> fFields;
    ASecret fDepartmentAccessCode;
    std::set<std::string> fGroups;
};
