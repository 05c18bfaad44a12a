#pragma once
// What the parts of the tests report ends the process, as a finding.

// Once, before they are used.
void FailuresAreFindings();
