// Runs the benchmarks and closes with our throughput, its ratio to the fastest peer, and the targets.
#include "Bench.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

namespace
{

std::map<std::string, Target>& Targets()
{
    static std::map<std::string, Target> targets;
    return targets;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One job at one size: megapixels a second of each contestant, one value a repetition.
struct Row
{
    std::string sName;
    std::map<std::string, std::vector<double>> contestants;

    double Of(const std::string& sContestant) const
    {
        const auto it = contestants.find(sContestant);
        return it == contestants.end() ? 0 : Median(it->second);
    }
};

/// What is said of a row.
struct Verdict
{
    double dblOurs = 0;
    double dblPeer = 0;
    double dblRatio = 0; ///< to the fastest peer, 0 without one
    double dblSse = 0;   ///< SSE4.1 forms to AVX2 forms, 0 where one did not run
    std::string sPeer;
    Target target = {};

    explicit Verdict(const Row& row) : dblOurs(row.Of(pszOurs))
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
        const auto it = Targets().find(row.sName);
        if (it != Targets().end())
            target = it->second;
    }

    bool MissesFirst() const { return dblRatio > 0 && dblRatio < target.dblFirst; }
    bool MissesAfter() const { return dblRatio > 0 && dblRatio < target.dblAfter; }
    bool MissesSse() const { return dblSse > 0 && dblSse < dblSseTarget; }
};

/// A target and whether it is met.
std::string Cell(double dblTarget, bool bMissed)
{
    if (dblTarget == 0)
        return "";
    char arrText[32];
    std::snprintf(arrText, sizeof(arrText), "%.2f %s", dblTarget, bMissed ? "**no**" : "yes");
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
        for (const Row& row : m_rows)
        {
            const Verdict v(row);
            std::printf("| %s | %.0f | %s %.0f | %.2f | %s | %s | %.2f%s |\n", row.sName.c_str(), v.dblOurs,
                        v.sPeer.c_str(), v.dblPeer, v.dblRatio,
                        Cell(v.target.dblFirst, v.MissesFirst()).c_str(),
                        Cell(v.target.dblAfter, v.MissesAfter()).c_str(), v.dblSse,
                        v.MissesSse() ? " **no**" : "");
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

    /// Random interleaving reports in any order; \return the row, a new one at the end
    Row& FindRow(const std::string& sName)
    {
        const auto it =
            std::find_if(m_rows.begin(), m_rows.end(), [&](const Row& row) { return row.sName == sName; });
        if (it != m_rows.end())
            return *it;
        m_rows.push_back({sName, {}});
        return m_rows.back();
    }

    std::vector<Row> m_rows;
};

} // namespace

void Expect(const std::string& sJob, int nWidth, int nHeight, Target target)
{
    Targets()[RowName(sJob, nWidth, nHeight)] = target;
}

int main(int argc, char** argv)
{
    RegisterConvert();
    RegisterFill();
    RegisterMix();
    RegisterResize();
    RegisterComposition();
    benchmark::Initialize(&argc, argv);
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
