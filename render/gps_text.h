// The texts of a GPS position record (items/gps_record.h): the one-line
// summary of a GPS item and the multi-line text that stands in for its
// parsed text when no parser library produces one.
#pragma once

#include <string>

#include "items/gps_record.h"

namespace quillon {

// "Lat:%.2f; Lon:%.2f; Alt:%.2f; Dir:%.2f; Spd:%.2f; #Sat:%02d; Qual:%02d",
// the values signed as stored.
std::u16string GpsSummary(const GpsRecord& record);

// Appends eight lines, each ending in "\r\n":
//   "GPS Time:    hh:mm:ss.sss"   the time printed "%010.03f", with ':'
//                                 inserted before its third and sixth
//                                 characters (only where the printed time
//                                 is that long)
//   "Quality:     GPS Fix"        "DGPS Fix" for 2, "% 4ld" for any value
//                                 but 1 and 2
//   "Latitude:     % 11.6f Degrees N"   the absolute value; "S" when negative
//   "Longitude:    % 11.6f Degrees E"   "W" when negative
//   "Altitude:     % 11.6f Meters", "Course:       % 11.6f Degrees",
//   "Speed:        % 11.6f Knots", "Satellites:   % 4ld"
void AppendGpsText(const GpsRecord& record, std::u16string& out);

}  // namespace quillon
