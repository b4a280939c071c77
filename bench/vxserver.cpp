// How many small jobs a print server with this filter takes in a minute: lp sends them one after the other, the
// scheduler prints them on one queue, then on four.
//
//   vxserver [JOBS]

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Paper.h"
#include "PrintServer.h"

namespace
{

struct ALoad
{
    const char* fName;
    std::string fArguments; ///< of lp, the document too
};

/// False when a job did not come out.
bool Measure(const APrintServer& inServer, const ALoad& inLoad, const std::vector<std::string>& inQueues, int inJobs)
{
    const auto start = std::chrono::steady_clock::now();
    std::vector<int> numbers;
    for (int i = 0; i < inJobs; ++i)
    {
        numbers.push_back(inServer.Print(inQueues[static_cast<std::size_t>(i) % inQueues.size()], inLoad.fArguments));
    }
    // The last one first: then there is nothing to wait for with the others, and waiting costs time too.
    for (auto number = numbers.rbegin(); number != numbers.rend(); ++number)
    {
        if (inServer.WaitForEnd(*number) != IPP_JSTATE_COMPLETED)
        {
            std::printf("%s: a job was not printed\n", inLoad.fName);
            return false;
        }
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%-22s %zu queue(s): %3d jobs in %5.1f s, %4.0f a minute\n", inLoad.fName, inQueues.size(), inJobs,
                seconds.count(), inJobs * 60 / seconds.count());
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    const int jobs = argc > 1 ? std::atoi(argv[1]) : 100;
    const ATemporaryFolder folder;
    const APrintServer server;
    const std::string document = MakeNumberedPDF(folder, 5);
    const std::vector<ALoad> loads = {
        {"a line of text", folder.Write("letter.txt", "Dear reader,\n")},
        {"five pages", document},
        {"five with a watermark", "-o VXwmrSwitch=Overlay " + document},
        {"five as a booklet", "-o VXBookletFilter=True " + document},
    };
    bool isPrinted = true;
    for (const ALoad& load : loads)
    {
        isPrinted = Measure(server, load, {"office"}, jobs) && isPrinted;
        isPrinted = Measure(server, load, {"office", "manual", "wide", "veldra"}, jobs) && isPrinted;
    }
    return isPrinted ? EXIT_SUCCESS : EXIT_FAILURE;
}
