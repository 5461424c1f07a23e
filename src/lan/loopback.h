// The loopback interface.
#pragma once

// Bring "lo" up with 127.0.0.1/255.0.0.0 and add the route to 127.0.0.0. Returns the result of the
// route; that of the interface is not looked at.
int config_loopback();
