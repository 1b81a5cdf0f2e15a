#pragma once

#include <string>
#include <vector>

enum class OutputFormat { Table, Csv, Json };

/// What each stack holds: slices with images, positions and registrations, models and poses.
int infoCommand(const std::vector<std::string>& files, OutputFormat format);

/// What the reader found wrong with each stack. Problems give status 1.
int checkCommand(const std::vector<std::string>& files, OutputFormat format);

/// The measurements of each stack's models, items and slices.
int measureCommand(const std::vector<std::string>& files, OutputFormat format);

/// Writes the surfaces of each stack's models into the directory, which is made when it is missing.
int exportCommand(const std::vector<std::string>& files, const std::string& directory, bool overwrite);
