// The log's file on the desktop.
#pragma once

// From now on lines that no sink takes go to "Glassmere.log" on the user's desktop if there is such
// a file: it is emptied at the first line, and each line is written at once. Whoever wants a log
// makes the file; without it, "no deskTopFile found" or "deskTopFile write protected" and all lines
// go to the debug channel. What happens to the file later disturbs nobody. Calling it again does
// nothing; the file is closed when this library goes. Any thread but an audio thread.
void AM_useLogFile();
