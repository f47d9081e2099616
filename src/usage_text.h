#pragma once

// clang-format off
constexpr const char usage_text[] =
    " For complete usage and examples, search tavo in wiki page.\n"
    "usage:\n"
    "to print strings: tavo [row] [col] [-h] string\n"
    "\t\t -h for highlighted text\n"
    "to show image: tavo -g|-b image_path [-w waveform -f -x xpos -y ypos -v]\n"
    "\t\t -g for png, -b for bitmap\n"
    "\t\t -w waveform can be gc16, gl16, reagl, reagld, gck16, glkw16 or du, default is gc16,\n"
    "\t\t -f for full update, default is partial update\n"
    "\t\t -x -y in units of pixels\n"
    "\t\t -v for inverted picture\n"
    "\t\t -k filename, save workingbuffer to file\n"
    "to paint a retangle on screen: tavo -d l=a,w=b,h=c [-x xx -y yy -w wf]\n"
    "\t\t a is gray level in hex, b is width, c is height, with optional xx yy location, waveform mode\n"
    "to clear display: tavo -c \n"
    "to paint checker: tavo -q \n"
    "to paint grayscale: tavo -l \n"
    "to paint pattern: tavo -p \n"
    "to paint barcode: tavo -r barcode\n"
    "to overlay a grid: tavo -a 5 (grid size)\n"
    "to print fb info: tavo -i\n"
    "to flash display with current fb content: tavo -s w=758,h=1024 -f";
// clang-format on
