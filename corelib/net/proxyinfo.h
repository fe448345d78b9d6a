#pragma once

#include "corelib/base/strings.h"

/// What the browsers of this machine have configured as their HTTP proxy, for the user to read: one line, ended by
/// "\n", for each browser that has something. A store that is missing or cannot be read gives no line; where no browser
/// keeps its settings in the registry the text is empty.
STRING QueryBrowserProxies();

/// The line for the server text of Internet Explorer: "host:port", or "protocol=host:port" for several protocols with
/// ";" between them, where HTTP counts or else the first. Empty if the text names no host and port.
STRING ExplorerProxyLine(const STRING& server);

/// The line for a Netscape preferences file, with "\n" between its lines; only the first 256 bytes of a line count.
/// Empty if it does not set both host and port.
STRING PreferencesProxyLine(const STRING& preferences);
