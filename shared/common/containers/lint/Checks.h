#pragma once

#include "containers/lint/Findings.h"

/// What the rules look for, a function each.
namespace kfab::lint {

void checkNumber(const KernelFacts& kernel, Findings& findings);
void checkNames(const KernelFacts& kernel, Findings& findings);
void checkVlnv(const KernelFacts& kernel, Findings& findings);
void checkDuplicatePort(const KernelFacts& kernel, Findings& findings);
void checkDuplicateArg(const KernelFacts& kernel, Findings& findings);
void checkDuplicateId(const KernelFacts& kernel, Findings& findings);
void checkIdGap(const KernelFacts& kernel, Findings& findings);
void checkNoPort(const KernelFacts& kernel, Findings& findings);
void checkUnknownPort(const KernelFacts& kernel, Findings& findings);
void checkPointerPort(const KernelFacts& kernel, Findings& findings);
void checkPointerSize(const KernelFacts& kernel, Findings& findings);
void checkHostSize(const KernelFacts& kernel, Findings& findings);
void checkOverlap(const KernelFacts& kernel, Findings& findings);
void checkBeyondRange(const KernelFacts& kernel, Findings& findings);
void checkInControlBlock(const KernelFacts& kernel, Findings& findings);
void checkControlPort(const KernelFacts& kernel, Findings& findings);
void checkPortMode(const KernelFacts& kernel, Findings& findings);
void checkPortType(const KernelFacts& kernel, Findings& findings);
void checkDataWidth(const KernelFacts& kernel, Findings& findings);
void checkPortRange(const KernelFacts& kernel, Findings& findings);
void checkMisaligned(const KernelFacts& kernel, Findings& findings);
void checkTypeSize(const KernelFacts& kernel, Findings& findings);
void checkPointerType(const KernelFacts& kernel, Findings& findings);
void checkInterrupt(const KernelFacts& kernel, Findings& findings);
void checkLanguage(const KernelFacts& kernel, Findings& findings);
void checkLaterVersion(const KernelFacts& kernel, Findings& findings);
void checkNoArgs(const KernelFacts& kernel, Findings& findings);

void checkIpMissing(const KernelFacts& kernel, Findings& findings);
void checkIpUnreadable(const KernelFacts& kernel, Findings& findings);
void checkIpFormat(const KernelFacts& kernel, Findings& findings);
void checkIpVlnv(const KernelFacts& kernel, Findings& findings);
void checkIpPort(const KernelFacts& kernel, Findings& findings);
void checkIpPortCase(const KernelFacts& kernel, Findings& findings);
void checkIpMode(const KernelFacts& kernel, Findings& findings);
void checkIpKind(const KernelFacts& kernel, Findings& findings);
void checkIpWidth(const KernelFacts& kernel, Findings& findings);
void checkIpAddressWidth(const KernelFacts& kernel, Findings& findings);
void checkIpUnused(const KernelFacts& kernel, Findings& findings);
void checkIpRange(const KernelFacts& kernel, Findings& findings);
void checkIpRegister(const KernelFacts& kernel, Findings& findings);
void checkIpClock(const KernelFacts& kernel, Findings& findings);
void checkIpFile(const KernelFacts& kernel, Findings& findings);
void checkIpFileOutside(const KernelFacts& kernel, Findings& findings);
void checkIpTop(const KernelFacts& kernel, Findings& findings);
void checkIpHdlPort(const KernelFacts& kernel, Findings& findings);
void checkTopIp(const KernelFacts& kernel, Findings& findings);
void checkIpShared(const KernelFacts& kernel, Findings& findings);
void checkStrayFile(const KernelFacts& kernel, Findings& findings);

void checkReportTop(const KernelFacts& kernel, Findings& findings);
void checkReportPort(const KernelFacts& kernel, Findings& findings);
void checkReportTiming(const KernelFacts& kernel, Findings& findings);
void checkReportModule(const KernelFacts& kernel, Findings& findings);

}  // namespace kfab::lint
