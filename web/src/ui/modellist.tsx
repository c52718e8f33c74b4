// All models of what was dropped, with a search over their paths.

import { useMemo, useState } from 'preact/hooks';
import type { Listing, Model } from '../files/tree';

// More would only make the page slow; the search narrows them.
const mostRows = 500;

const sizeText = (size: number) =>
  size < 1e6 ? `${Math.ceil(size / 1e3)} kB` : `${(size / 1e6).toFixed(1)} MB`;

export function ModelList(props: {
  listing: Listing | undefined;
  shown: string | undefined;
  onShow: (model: Model) => void;
}) {
  const { listing, shown, onShow } = props;
  const [search, setSearch] = useState('');
  const found = useMemo(() => {
    const words = search.toLowerCase().split(/\s+/);
    return (listing?.models ?? []).filter(({ path }) => {
      const text = path.toLowerCase();
      return words.every((word) => text.includes(word));
    });
  }, [listing, search]);
  return (
    <nav aria-label="Models">
      <label class="search">
        <span>Search models</span>
        <input
          type="search"
          value={search}
          disabled={listing === undefined}
          onInput={({ currentTarget }) => setSearch(currentTarget.value)}
        />
      </label>
      <p class="count" role="status">
        {listing && `Models: ${found.length} of ${listing.models.length}, files: ${listing.files}`}
      </p>
      <ul class="models">
        {found.slice(0, mostRows).map((model) => (
          <li key={model.path}>
            <button
              type="button"
              aria-current={model.path === shown}
              title={model.archive === '' ? model.path : `${model.path} in ${model.archive}`}
              onClick={() => onShow(model)}
            >
              <span>{model.path}</span>
              <small>{sizeText(model.size)}</small>
            </button>
          </li>
        ))}
        {found.length > mostRows && <li>… search to see the others</li>}
      </ul>
    </nav>
  );
}
