// The HTML report of a levelling run: one self-contained page for a project
// or a portfolio folder, read through the store after a run, for a person
// to look at what the run did.
//
// The page holds, with inline SVG and CSS only (no script, nothing fetched):
// - the run's outcome as the store records it (the notification item's
//   status tag, subject, first and last time stamps and message; the run
//   kind and user recorded on the projects; the locks left behind) and
//   counts of what was levelled;
// - a Gantt chart of every item on one time axis, shaded where the root
//   project's calendar has no work, with the planned bar (PLANNED_START /
//   PLANNED_FINISH) and the levelled bar (LEVEL_START / LEVEL_FINISH) of
//   each item, containers and projects as summary bars, tasks without work
//   as milestone diamonds, critical items (TOTAL_SLACK 0, not finished) in
//   their own colour, items with a LEVEL_CONFLICT flagged, and the
//   dependencies as arrows between the levelled bars;
// - a load histogram per resource on the same axis: the run's levelled
//   minutes (LEVEL_TASK_DAY_OF_YEAR), the work booked outside the run and
//   the actual work already reported, against the capacity of the day
//   (MAX_UNITS / 10000 x the working minutes of the resource's calendar),
//   the part above capacity in its own colour;
// - the conflict list, the over-allocations (LEVEL_OVER_ALLOCATIONS) and a
//   legend.
//
// Large scopes: rows below a container depth are folded into their
// container, whose bar then stands for its whole subtree. Depth 0 is a root
// project (or, in a folder, each project of the folder), its children
// depth 1, and so on. ReportOptions::collapseDepth = -1 chooses the depth
// itself: every row when there are at most 400, otherwise the deepest depth
// that keeps at most 400 rows (depth 0 when even that has more). The page
// says which depth was used and why.
//
// Units: the chart's x axis is in days (one column per calendar day, the
// minute of day placing a time stamp inside its column); load and capacity
// are minutes per day.
#ifndef LEVELER_REPORT_HTML_REPORT_H
#define LEVELER_REPORT_HTML_REPORT_H

#include <string>

#include "store/store.h"

namespace report {

struct ReportOptions {
  int collapseDepth = -1;  // -1: automatic (see the header comment)
};

// Rows the automatic collapse keeps at most.
inline constexpr int kAutomaticRowLimit = 400;

// Writes one self-contained HTML file for a project or portfolio folder
// `elementId` read through `store`. Returns 0, or non-zero with `error` set
// to one clear line (nothing is left at `path` then).
int writeHtmlReport(db::Store& store, const std::string& elementId, const std::string& path,
                    const ReportOptions& options, std::string& error);

}  // namespace report

#endif  // LEVELER_REPORT_HTML_REPORT_H
