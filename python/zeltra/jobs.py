ImportSummary=None
import_uvfits=None
