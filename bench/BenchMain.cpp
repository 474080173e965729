// Runs the benchmarks and closes with our throughput and its ratio to the fastest peer.
#include "Bench.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

namespace
{

/// Keeps megapixels a second, the median where there are repetitions.
class Reporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
        {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const std::string sName = run.run_name.function_name;
            const size_t nSlash = sName.rfind('/');
            const auto it = run.counters.find("pixels");
            if (nSlash != std::string::npos && it != run.counters.end())
                m_jobs[sName.substr(0, nSlash)][sName.substr(nSlash + 1)].push_back(it->second / 1e6);
        }
    }

    void Finalize() override
    {
        std::printf(
            "\n| job | ours, Mpixel/s | fastest peer | ratio | SSE4.1 to AVX2 |\n|---|---|---|---|---|\n");
        for (const auto& [sJob, contestants] : m_jobs)
        {
            double dblOurs = 0;
            double dblSse = 0;
            double dblPeer = 0;
            std::string sPeer;
            for (const auto& [sContestant, values] : contestants)
            {
                const double dbl = Median(values);
                if (sContestant == pszOurs)
                    dblOurs = dbl;
                else if (sContestant == pszOursSse41)
                    dblSse = dbl;
                else if (dbl > dblPeer)
                {
                    dblPeer = dbl;
                    sPeer = sContestant;
                }
            }
            std::printf("| %s | %.0f | %s %.0f | %.2f | %.2f |\n", sJob.c_str(), dblOurs, sPeer.c_str(),
                        dblPeer, dblPeer > 0 ? dblOurs / dblPeer : 0, dblOurs > 0 ? dblSse / dblOurs : 0);
        }
    }

private:
    static double Median(std::vector<double> values)
    {
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    }

    std::map<std::string, std::map<std::string, std::vector<double>>> m_jobs;
};

} // namespace

int main(int argc, char** argv)
{
    RegisterConvert();
    RegisterResize();
    RegisterComposition();
    benchmark::Initialize(&argc, argv);
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
