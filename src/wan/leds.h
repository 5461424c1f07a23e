// The two WAN lights of the front panel: yellow while a connection is being made or is lost, green
// once one stands.
#pragma once

// Yellow on, green off.
void leds_dialling();

// Yellow off, green on.
void leds_connected();
