#include "platform/files/DiskFailure.h"

disk::Failure::~Failure() = default;
