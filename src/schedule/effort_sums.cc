// Working minutes between two points of an item's calendar (see
// effort_sums.h).
#include "schedule/effort_sums.h"

#include "calendar/day_bits.h"
#include "schedule/item_times.h"

namespace {

// Availability of a day: from the array inside the loaded range, from the
// day lookups outside it.
int dayAve(const activity_type* a, const int32_t* ave, int32_t date) {
  const int32_t c = date - a->proj->first_day;
  if (ave != nullptr && c >= 0 && c < a->proj->size_of_calendar) return ave[c];
  return getProjectAveMinutesForDayCount(a, c);
}

int32_t sumBetween(activity_type* a, storage_manager_type* sm, int32_t startDate, int startTime,
                   int32_t finishDate, int finishTime) {
  if (finishDate < startDate) return 0;
  unsigned char bits[DAY_BITS_BYTES];
  getProjectDayBitsForDayCount(a, startDate - a->proj->first_day, bits);
  if (startDate == finishDate) {
    return getAveMinutesWithinTimeIntervalFromDayBits(bits, startTime + 5, finishTime);
  }
  int32_t total = getAveMinutesWithinTimeIntervalFromDayBits(bits, startTime + 5, DAY_MINUTES);
  getProjectDayBitsForDayCount(a, finishDate - a->proj->first_day, bits);
  total += getAveMinutesWithinTimeIntervalFromDayBits(bits, 5, finishTime);
  // The days strictly between: from the running sums where they are loaded
  // (constant time however far apart), day by day where they are not.
  const int32_t first = a->proj->first_day;
  const int64_t between =
      finishDate - startDate > 1
          ? getProjectAveMinutesBetweenDayCounts(a, sm, startDate + 1 - first, finishDate - 1 - first)
          : 0;
  if (between >= 0) return total + static_cast<int32_t>(between);
  const int32_t* ave = getProjectAveMinutes(a, sm);
  for (int32_t d = startDate + 1; d < finishDate; ++d) total += dayAve(a, ave, d);
  return total;
}

}  // namespace

int activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(
    activity_type* this_act, int32_t* totalEffort, storage_manager_type* smanager,
    int32_t startDate, int startDateTime, int32_t finishDate, int finishDateTime, FILE* file) {
  try {
    int32_t sd = startDate, fd = finishDate;
    int st = startDateTime, ft = finishDateTime;
    int sdChanged = 0, fdChanged = 0;
    int r = activityFindClosestAveStartFinishDates(this_act, smanager, &sd, &st, &sdChanged, &fd,
                                                   &ft, &fdChanged, file);
    if (r != 0) return r;
    int32_t total = sumBetween(this_act, smanager, sd, st, fd, ft);
    *totalEffort = total < 0 ? 0 : total;
    return 0;
  } catch (...) {
    if (file != nullptr) {
      std::fprintf(file,
                   "\n\n ****** error in activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals:"
                   " terminate here due to error \n");
    }
    return ERR_TOTAL_EFFORT;
  }
}

int activityCalculateTotalEffortWithinGivenDates(activity_type* this_act, int32_t* totalEffort,
                                                 storage_manager_type* smanager,
                                                 int32_t startDate, int32_t finishDate,
                                                 FILE* file) {
  const int32_t first = this_act->proj->first_day;
  const int st = getProjectStartTimeMinutesForDayCount(this_act, startDate - first) +
                 this_act->offset_start_time;
  const int ft = getProjectFinishTimeMinutesForDayCount(this_act, finishDate - first) -
                 this_act->offset_finish_time;
  return activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(
      this_act, totalEffort, smanager, startDate, st, finishDate, ft, file);
}

int activityCalculateTotalEffortTrunForContainerType(activity_type* this_act,
                                                     storage_manager_type* smanager, FILE* file) {
  const int32_t first = this_act->proj->first_day;
  const int st = getProjectStartTimeMinutesForDayCount(this_act, this_act->start_date_trun - first) +
                 this_act->offset_start_time_trun;
  const int ft =
      getProjectFinishTimeMinutesForDayCount(this_act, this_act->finish_date_trun - first) -
      this_act->offset_finish_time_trun;
  int32_t total = 0;
  int r = activityCalculateTotalEffortWithinGivenDatesAndTimeIntervals(
      this_act, &total, smanager, this_act->start_date_trun, st, this_act->finish_date_trun, ft,
      file);
  if (r == 0) this_act->effort = total;
  return r;
}

int32_t activityRemoveProjectCalendarNotAveDays(activity_type* this_act,
                                                storage_manager_type* smanager,
                                                int32_t startDate, int32_t finishDate) {
  const int32_t* ave = getProjectAveMinutes(this_act, smanager);
  int32_t days = 0;
  for (int32_t d = startDate; d <= finishDate; ++d) {
    if (dayAve(this_act, ave, d) > 5) ++days;
  }
  return days;
}
