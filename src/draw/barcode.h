#pragma once

/// Clears the screen memory and paints a text as Code 39 barcodes (ISO/IEC 16388) with the text
/// below the bars; sends no update. Up to 22 characters are painted twice, at the top left and the
/// bottom right; longer texts in pieces of 22, one below the other, as far as the screen reaches.
/// Ends the process with status 1 and a message on standard error at a character that Code 39 lacks
/// or when the bars are too wide for the screen. A null text does nothing.
void paint_barcode(const char *text);
