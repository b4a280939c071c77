#include "Foundation/DocumentNormalizer.h"

bool ADocumentNormalizer::NormalizeDocument(ACupsFile& ioFile)
{
    ioFile.Rewind();
    return false;
}
