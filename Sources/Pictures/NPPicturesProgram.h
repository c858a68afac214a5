// nightpane-pictures: draws what effects do.
//
// For each effect file it writes the test photograph as a display shows it that has the effect on, and the
// plot of the transfer curve. A program of its own, so that what runs all day links no drawing library.
#pragma once

#include <ostream>
#include <string>
#include <vector>

// Runs the program with its words (the program's name is not among them). Prints the path of each picture
// on a line of the output, and one line on the errors for each thing that went wrong; a file that cannot be
// used leaves the others alone. The result is 0 when everything was drawn, 1 when something failed and 2
// when the words make no sense.
int NPRunPictures(const std::vector<std::string>& words, std::ostream& output, std::ostream& errors);
