// Runs the benchmarks and closes with our throughput, its ratio to the fastest peer, and the targets.
#include "Bench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

namespace
{

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One job at one size: megapixels a second of each contestant, one value a repetition.
struct Row
{
    std::string sName;
    Target target = {};
    std::map<std::string, std::vector<double>> contestants = {};

    double Of(const std::string& sContestant) const
    {
        const auto it = contestants.find(sContestant);
        return it == contestants.end() ? 0 : Median(it->second);
    }
};

/// All rows, in the order of their registration.
std::vector<Row> g_rows;

/// \return the row of a name, a new one at the end
Row& FindRow(const std::string& sName)
{
    const auto it =
        std::find_if(g_rows.begin(), g_rows.end(), [&](const Row& row) { return row.sName == sName; });
    if (it != g_rows.end())
        return *it;
    g_rows.push_back({sName});
    return g_rows.back();
}

std::string RowName(const std::string& sJob, int nWidth, int nHeight)
{
    return sJob + "/" + std::to_string(nWidth) + "x" + std::to_string(nHeight);
}

/// What is said of a row.
struct Verdict
{
    double dblOurs = 0;
    double dblPeer = 0;
    double dblRatio = 0; ///< to the fastest peer, 0 without one
    double dblSse = 0;   ///< SSE4.1 forms to AVX2 forms, 0 where one did not run
    std::string sPeer;
    Target target;

    explicit Verdict(const Row& row) : dblOurs(row.Of(pszOurs)), target(row.target)
    {
        for (const auto& [sContestant, values] : row.contestants)
        {
            const bool bOurs = sContestant == pszOurs || sContestant == pszOursSse41;
            if (!bOurs && Median(values) > dblPeer)
            {
                dblPeer = Median(values);
                sPeer = sContestant;
            }
        }
        if (dblPeer > 0)
            dblRatio = dblOurs / dblPeer;
        if (dblOurs > 0)
            dblSse = row.Of(pszOursSse41) / dblOurs;
    }

    bool MissesFirst() const { return dblRatio > 0 && dblRatio < target.dblFirst; }
    bool MissesAfter() const { return dblRatio > 0 && dblRatio < target.dblAfter; }
    bool MissesSse() const { return dblSse > 0 && dblSse < dblSseTarget; }
};

/// A figure and whether the target is met; nothing for a figure that is not there.
std::string Cell(double dbl, bool bMissed)
{
    if (dbl == 0)
        return "";
    char arrText[32];
    std::snprintf(arrText, sizeof(arrText), "%.2f %s", dbl, bMissed ? "**no**" : "yes");
    return arrText;
}

/// Keeps megapixels a second of every repetition.
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
                FindRow(sName.substr(0, nSlash))
                    .contestants[sName.substr(nSlash + 1)]
                    .push_back(it->second / 1e6);
        }
    }

    void Finalize() override
    {
        std::printf("\n| job | ours, Mpixel/s | fastest peer | ratio | first | after | SSE4.1 to AVX2 |\n"
                    "|---|---|---|---|---|---|---|\n");
        std::string sFirst, sAfter, sSse;
        for (const Row& row : g_rows)
        {
            if (row.contestants.empty())
                continue;
            const Verdict v(row);
            std::printf(
                "| %s | %.0f | %s %.0f | %.2f | %s | %s | %s |\n", row.sName.c_str(), v.dblOurs,
                v.sPeer.c_str(), v.dblPeer, v.dblRatio, Cell(v.target.dblFirst, v.MissesFirst()).c_str(),
                Cell(v.target.dblAfter, v.MissesAfter()).c_str(), Cell(v.dblSse, v.MissesSse()).c_str());
            AddName(sFirst, row, v.MissesFirst());
            AddName(sAfter, row, v.MissesAfter());
            AddName(sSse, row, v.MissesSse());
        }
        PrintMissed("first", sFirst);
        PrintMissed("after", sAfter);
        PrintMissed("SSE4.1 to AVX2", sSse);
    }

private:
    static void AddName(std::string& sNames, const Row& row, bool bMissed)
    {
        if (bMissed)
            sNames += (sNames.empty() ? "" : ", ") + row.sName;
    }

    static void PrintMissed(const char* pszTarget, const std::string& sNames)
    {
        std::printf("\nmissed, %s: %s\n", pszTarget, sNames.empty() ? "none" : sNames.c_str());
    }
};

} // namespace

void Register(const std::string& sJob, int nWidth, int nHeight, const std::string& sContestant,
              std::function<void()> work, std::function<void()> prepare)
{
    const std::string sRow = RowName(sJob, nWidth, nHeight);
    FindRow(sRow);
    const double dblPixels = static_cast<double>(nWidth) * nHeight;
    benchmark::RegisterBenchmark((sRow + "/" + sContestant).c_str(),
                                 [work, prepare, dblPixels](benchmark::State& state)
                                 {
                                     if (prepare)
                                         prepare();
                                     for (auto _ : state)
                                     {
                                         work();
                                         benchmark::ClobberMemory();
                                     }
                                     state.counters["pixels"] = benchmark::Counter(
                                         dblPixels, benchmark::Counter::kIsIterationInvariantRate);
                                 });
}

void Expect(const std::string& sJob, int nWidth, int nHeight, Target target)
{
    FindRow(RowName(sJob, nWidth, nHeight)).target = target;
}

int main(int argc, char** argv)
{
    RegisterConvert();
    RegisterFill();
    RegisterMix();
    RegisterResize();
    RegisterComposition();
#ifdef QX_BENCH_READERS
    RegisterReaders();
    RegisterLargePicture();
#endif
    benchmark::Initialize(&argc, argv);
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
