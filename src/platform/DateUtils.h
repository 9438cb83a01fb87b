#pragma once

namespace DateUtils {

// Minutes between local time and UTC (UTC = local + bias), daylight saving included when in
// force. Passed to the server as the client's bias when a session starts.
int GetTimeZoneBias();

}  // namespace DateUtils
