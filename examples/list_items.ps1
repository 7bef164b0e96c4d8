# Lists the first items of an item store file through Quillon.dll.
# Usage: powershell -File list_items.ps1 C:\path\capture.isf
param([Parameter(Mandatory = $true)][string]$Path)
$files = New-Object -ComObject Quillon.ItemStoreFiles
$h = $files.LoadItemStore($Path)
if ($h -eq [uint32]::MaxValue) { Write-Error "cannot open $Path"; exit 1 }
$count = $files.GetItemCount($h)
"$count items"
for ($i = 0; $i -lt [Math]::Min($count, 10); $i++) {
  $item = $files.GetItem($h, $i)
  "{0}  {1}  {2}  {3}  {4}" -f $i, $item.GetItemTimestampText($true, $true),
    $item.GetItemTypeText(), $item.GetItemName(), $item.GetItemSummary()
}
[void]$files.CloseItemStore($h)
