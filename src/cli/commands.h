#pragma once

#include <QStringList>

namespace vorlen {

/// What the program can be told to do. Each takes the program's name and the command line without the command's own
/// word, and gives the exit status.

/// What each stack holds: slices with images, positions and registrations, models and poses.
int infoCommand(const QStringList& arguments);

/// Makes a stack description of images, pages of images and volumes.
int newCommand(const QStringList& arguments);

/// What the reader found wrong with each stack. Problems give status 1.
int checkCommand(const QStringList& arguments);

/// The measurements of each stack's models, items and slices.
int measureCommand(const QStringList& arguments);

/// Writes the surfaces of each stack's models into a directory.
int exportCommand(const QStringList& arguments);

/// Writes the surface of each volume at a level into a directory.
int isosurfaceCommand(const QStringList& arguments);

/// Draws the models of a stack in space as a picture.
int renderCommand(const QStringList& arguments);

/// Brings several stacks into one space and writes the shapes, their means and a summary.
int normalizeCommand(const QStringList& arguments);

/// Writes the density map of point patterns, and its surfaces, into a directory.
int densityCommand(const QStringList& arguments);

/// Writes where groups of specimens differ, by a permutation test, into a directory.
int compareCommand(const QStringList& arguments);

/// Writes each stack, with its slices registered on each other, into a directory.
int registerCommand(const QStringList& arguments);

/// Copies models of one stack into another, which is written anew.
int transferCommand(const QStringList& arguments);

/// Removes from the models of each stack what lies outside of a reference, and writes it anew.
int filterCommand(const QStringList& arguments);

/// Finds the spots in the images of each stack and writes it, with them, into a directory.
int spotsCommand(const QStringList& arguments);

} // namespace vorlen
